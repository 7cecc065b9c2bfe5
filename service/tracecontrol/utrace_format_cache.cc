#include "service/tracecontrol/utrace_format_cache.h"

#include <utility>

#include "tracetables/trace_lmc_reader.h"
#include "tracing/log.h"

namespace kvn {

void UtraceFormatCache::load(uint16_t snid, const std::string& lmcPath,
                             const std::string& loadModuleName) {
  kvntrace::TraceLmcReader reader(lmcPath);
  set(snid, reader.readMetadataTable(loadModuleName, "tracestr"));
}

void UtraceFormatCache::set(uint16_t snid, std::vector<std::string> texts) {
  formats_[snid] = std::move(texts);
}

const char* UtraceFormatCache::formatByIndex(uint16_t snid, size_t index) const {
  auto it = formats_.find(snid);
  if (it == formats_.end()) {
    TC_LOG_ERROR("Strids are not setup for snid %d", snid);
    return nullptr;
  }
  if (index >= it->second.size()) {
    TC_LOG_ERROR("Strid index %d out of range for snid %d", static_cast<int>(index), snid);
    return nullptr;
  }
  return it->second[index].c_str();
}

const std::vector<std::string>* UtraceFormatCache::tableFor(uint16_t snid) const {
  auto it = formats_.find(snid);
  if (it == formats_.end()) {
    TC_LOG_ERROR("Strids are not setup for snid %d", snid);
    return nullptr;
  }
  return &it->second;
}

}  // namespace kvn
