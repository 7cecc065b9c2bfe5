#include "tests/e2e/run_dir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kvn::e2e {

RunDir::RunDir() {
  std::string tmpl = (std::filesystem::temp_directory_path() / "kvn-e2e.XXXXXX").string();
  if (mkdtemp(tmpl.data()) == nullptr) throw std::runtime_error("mkdtemp failed for " + tmpl);
  path_ = tmpl;
}

RunDir::~RunDir() {
  if (std::getenv("KVN_E2E_KEEP") != nullptr) return;
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string RunDir::read(const std::string& name) const {
  std::ifstream in(file(name), std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> entries(const std::string& dir) {
  std::vector<std::string> names;
  std::error_code ignored;
  for (const auto& e : std::filesystem::directory_iterator(dir, ignored)) {
    const std::string name = e.path().filename().string();
    if (name[0] != '.') names.push_back(name);
  }
  return names;
}

}  // namespace kvn::e2e
