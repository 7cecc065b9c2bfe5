#include "daxo-sim/measurement_figures.h"

#include <limits>
#include <string>

#include <nlohmann/json.hpp>

#include "daxo-sim/agent_description.h"

namespace kvn::daxosim {

namespace {

using json = nlohmann::json;

[[noreturn]] void fail(const std::string& where, const std::string& what) {
  throw AgentDescription::Error("measurements." + where + ": " + what);
}

template <typename T>
void read(const json& j, const char* key, T& out, const std::string& where) {
  if (!j.contains(key)) return;
  const json& v = j.at(key);
  if (!v.is_number_unsigned() || v.get<uint64_t>() > std::numeric_limits<T>::max())
    fail(where + key,
         "expected a number from 0 to " + std::to_string(std::numeric_limits<T>::max()));
  out = v.get<T>();
}

const json& list(const json& j, const char* key, const std::string& where) {
  static const json empty = json::array();
  if (!j.contains(key)) return empty;
  if (!j.at(key).is_array()) fail(where + key, "expected a list");
  return j.at(key);
}

}  // namespace

MeasurementFigures MeasurementFigures::fromJson(const json& j) {
  if (!j.is_object()) fail("", "expected an object");
  MeasurementFigures f;
  read(j, "snapshotUs", f.snapshotUs, "");
  const json& dsps = list(j, "dsps", "");
  for (size_t i = 0; i < dsps.size(); ++i) {
    const std::string where = "dsps[" + std::to_string(i) + "].";
    Dsp d;
    read(dsps[i], "min", d.min, where);
    read(dsps[i], "max", d.max, where);
    read(dsps[i], "average", d.average, where);
    read(dsps[i], "pooled", d.pooled, where);
    const json& histogram = list(dsps[i], "histogram", where);
    if (histogram.size() > d.histogram.size()) fail(where + "histogram", "more than 5 counts");
    for (size_t k = 0; k < histogram.size(); ++k)
      read(json{{"count", histogram[k]}}, "count", d.histogram[k], where + "histogram");
    f.dsps.push_back(d);
  }
  if (f.dsps.size() > 0xFFFF) fail("dsps", "more than 65535 DSPs");
  if (j.contains("cmPool")) {
    const json& pool = j.at("cmPool");
    read(pool, "allocatedWords", f.allocatedWords, "cmPool.");
    read(pool, "totalWords", f.totalWords, "cmPool.");
    const json& blocks = list(pool, "blocks", "cmPool.");
    if (blocks.size() > kMaxBlocks) fail("cmPool.blocks", "more than 16 blocks");
    for (size_t i = 0; i < blocks.size(); ++i) {
      const std::string where = "cmPool.blocks[" + std::to_string(i) + "].";
      Block b;
      read(blocks[i], "blockSizeInWords", b.blockSizeInWords, where);
      read(blocks[i], "totalNumberOfBlocks", b.totalNumberOfBlocks, where);
      read(blocks[i], "allocatedNumberOfBlocks", b.allocatedNumberOfBlocks, where);
      read(blocks[i], "maximumAllocatedNumberOfBlocks", b.maximumAllocatedNumberOfBlocks, where);
      f.blocks.push_back(b);
    }
  }
  return f;
}

}  // namespace kvn::daxosim
