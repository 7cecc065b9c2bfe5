#include "lmc-tool/lmc_description.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <stdexcept>

#include "lmc-tool/table_blob_writer.h"

namespace kvn::lmc {

namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void fail(const std::string& where, const std::string& what) {
  throw std::runtime_error(where + ": " + what);
}

void allowOnly(const Json& obj, const std::string& where, std::set<std::string> keys) {
  if (!obj.is_object()) fail(where, "must be an object");
  for (const auto& item : obj.items()) {
    if (keys.count(item.key()) == 0) fail(where, "unknown key \"" + item.key() + "\"");
  }
}

std::string text(const Json& v, const std::string& where) {
  if (!v.is_string()) fail(where, "must be a string");
  return v.get<std::string>();
}

uint64_t number(const Json& v, const std::string& where, uint64_t max) {
  if (!v.is_number_unsigned() || v.get<uint64_t>() > max) {
    fail(where, "must be a whole number from 0 to " + std::to_string(max));
  }
  return v.get<uint64_t>();
}

std::vector<std::string> strings(const Json& v, const std::string& where) {
  if (!v.is_array()) fail(where, "must be a list of strings");
  std::vector<std::string> out;
  for (size_t i = 0; i < v.size(); ++i) {
    out.push_back(text(v[i], where + "[" + std::to_string(i) + "]"));
  }
  return out;
}

std::string readFile(const std::string& path, const std::string& where) {
  std::ifstream in(path, std::ios::binary);
  if (!in) fail(where, "cannot read " + path);
  std::ostringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

std::string tablesBlob(const Json& tables, const std::string& where) {
  if (!tables.is_object()) fail(where, "must be an object of tables");
  TableBlobWriter blob;
  for (const auto& item : tables.items()) {
    const std::string at = where + "." + item.key();
    const Json& t = item.value();
    if (t.is_array()) {
      blob.addStringTable(item.key(), strings(t, at));
    } else {
      allowOnly(t, at, {"type", "strings"});
      blob.addTable(
          item.key(),
          static_cast<uint32_t>(number(t.value("type", Json(0)), at + ".type", 0xFFFFFFFFu)),
          strings(t.value("strings", Json::array()), at + ".strings"));
    }
  }
  return blob.build();
}

std::string metadataBlob(const Json& meta, const std::string& where) {
  allowOnly(meta, where, {"load_module", "trace_objects", "formats", "utrace", "trace_strings"});
  std::vector<std::string> names;
  std::vector<std::string> ids;
  const Json objects = meta.value("trace_objects", Json::array());
  if (!objects.is_array()) fail(where + ".trace_objects", "must be a list");
  for (size_t i = 0; i < objects.size(); ++i) {
    const std::string at = where + ".trace_objects[" + std::to_string(i) + "]";
    allowOnly(objects[i], at, {"name", "trace_id"});
    if (!objects[i].contains("name") || !objects[i].contains("trace_id")) {
      fail(at, "needs \"name\" and \"trace_id\"");
    }
    names.push_back(text(objects[i]["name"], at + ".name"));
    ids.push_back(std::to_string(number(objects[i]["trace_id"], at + ".trace_id", 0x7FFFFFFF)));
  }
  std::vector<std::string> utrace;
  const Json points = meta.value("utrace", Json::array());
  if (!points.is_array()) fail(where + ".utrace", "must be a list");
  for (size_t i = 0; i < points.size(); ++i) {
    const std::string at = where + ".utrace[" + std::to_string(i) + "]";
    allowOnly(points[i], at, {"name", "id", "default"});
    if (!points[i].contains("name") || !points[i].contains("id")) {
      fail(at, "needs \"name\" and \"id\"");
    }
    const Json def = points[i].value("default", Json(false));
    if (!def.is_boolean()) fail(at + ".default", "must be true or false");
    utrace.push_back(text(points[i]["name"], at + ".name") + "," +
                     std::to_string(number(points[i]["id"], at + ".id", 0xFFFF)) + "," +
                     (def.get<bool>() ? "1" : "0"));
  }
  TableBlobWriter blob;
  blob.addStringTable("traceobjname", names);
  blob.addStringTable("stridtraceid", ids);
  blob.addStringTable("traceformat",
                      strings(meta.value("formats", Json::array()), where + ".formats"));
  blob.addStringTable("utracemeta", utrace);
  blob.addStringTable(
      "tracestr", strings(meta.value("trace_strings", Json::array()), where + ".trace_strings"));
  return blob.build();
}

std::string profilesBlob(const Json& profiles, const Json* flightRecorder,
                         const std::string& where) {
  if (!profiles.is_object()) fail(where, "must be an object of profiles");
  TableBlobWriter blob;
  for (const auto& item : profiles.items()) {
    if (item.key() == ".flight_recorder")
      fail(where, "name the flight recorder profile with \"flight_recorder\"");
    blob.addStringTable(item.key(), strings(item.value(), where + "." + item.key()));
  }
  if (flightRecorder != nullptr) {
    blob.addStringTable(".flight_recorder", {text(*flightRecorder, "flight_recorder")});
  }
  return blob.build();
}

LmDefinition moduleSpec(const Json& m, const std::string& where, const std::string& baseDir) {
  allowOnly(m, where,
            {"identity", "role", "compression", "gzip", "data_header", "snid", "file", "text",
             "tables", "metadata", "profiles", "flight_recorder"});
  int contents = 0;
  for (const char* key : {"file", "text", "tables", "metadata", "profiles"}) {
    contents += m.contains(key) ? 1 : 0;
  }
  if (contents != 1) {
    fail(where, "needs exactly one of \"file\", \"text\", \"tables\", \"metadata\", \"profiles\"");
  }
  LmDefinition def;
  std::string defaultIdentity;
  if (m.contains("file")) {
    std::string path = text(m["file"], where + ".file");
    if (!path.empty() && path[0] != '/' && !baseDir.empty()) path = baseDir + "/" + path;
    def.content = readFile(path, where + ".file");
  }
  if (m.contains("text")) {
    def.content = text(m["text"], where + ".text");
  }
  if (m.contains("tables")) {
    def.content = tablesBlob(m["tables"], where + ".tables");
  }
  if (m.contains("metadata")) {
    const Json& meta = m["metadata"];
    def.content = metadataBlob(meta, where + ".metadata");
    if (meta.contains("load_module")) {
      defaultIdentity = text(meta["load_module"], where + ".metadata.load_module") + "_META";
    }
  }
  if (m.contains("profiles")) {
    const Json* fr = m.contains("flight_recorder") ? &m["flight_recorder"] : nullptr;
    def.content = profilesBlob(m["profiles"], fr, where + ".profiles");
    defaultIdentity = "bbDiagProfiles";
  } else if (m.contains("flight_recorder")) {
    fail(where + ".flight_recorder", "belongs beside \"profiles\"");
  }

  def.identity =
      m.contains("identity") ? text(m["identity"], where + ".identity") : defaultIdentity;
  if (def.identity.empty()) fail(where, "needs an \"identity\"");
  if (m.contains("role")) def.role = text(m["role"], where + ".role");
  if (m.contains("compression")) {
    def.compression = static_cast<uint16_t>(number(m["compression"], where + ".compression", 1));
  }
  if (m.contains("gzip")) {
    if (!m["gzip"].is_boolean()) fail(where + ".gzip", "must be true or false");
    def.gzip = m["gzip"].get<bool>();
  }
  if (m.contains("data_header")) {
    const Json& dh = m["data_header"];
    if (!dh.is_array() || dh.size() != 3) fail(where + ".data_header", "must be 3 numbers");
    for (size_t i = 0; i < 3; ++i) {
      def.dataHeader[i] = static_cast<uint32_t>(
          number(dh[i], where + ".data_header[" + std::to_string(i) + "]", 0xFFFFFFFFu));
    }
  }
  if (m.contains("snid")) {
    def.snid = static_cast<uint32_t>(number(m["snid"], where + ".snid", 0xFFFFFFFFu));
  }
  return def;
}

}  // namespace

LmcWriter LmcDescription::load(const std::string& path) {
  const std::string jsonText = readFile(path, path);
  const size_t slash = path.rfind('/');
  return parse(jsonText, slash == std::string::npos ? "." : path.substr(0, slash));
}

LmcWriter LmcDescription::parse(const std::string& jsonText, const std::string& baseDir) {
  Json j;
  try {
    j = Json::parse(jsonText);
  } catch (const Json::parse_error& e) {
    throw std::runtime_error(std::string("description is not valid JSON: ") + e.what());
  }
  allowOnly(j, "description",
            {"format_version", "header_bytes", "product_number", "product_revision", "modules"});
  LmcWriter writer;
  LmcWriter::Header& h = writer.header();
  if (j.contains("format_version")) {
    h.formatVersion = static_cast<uint16_t>(number(j["format_version"], "format_version", 1));
  }
  if (j.contains("header_bytes")) {
    h.headerBytes = static_cast<uint32_t>(number(j["header_bytes"], "header_bytes", 0x1FFFE));
  }
  if (j.contains("product_number")) h.productNumber = text(j["product_number"], "product_number");
  if (j.contains("product_revision")) {
    h.productRevision = text(j["product_revision"], "product_revision");
  }
  const Json modules = j.value("modules", Json::array());
  if (!modules.is_array() || modules.empty())
    fail("modules", "must be a list of at least one module");
  for (size_t i = 0; i < modules.size(); ++i) {
    const std::string where = "modules[" + std::to_string(i) + "]";
    try {
      writer.addModule(moduleSpec(modules[i], where, baseDir));
    } catch (const std::invalid_argument& e) {
      fail(where, e.what());
    }
  }
  return writer;
}

}  // namespace kvn::lmc
