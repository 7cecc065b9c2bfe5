#pragma once
// A fresh private directory for a test's files, removed with everything in it at the end.

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace kvn::testing {

class ScratchDir {
 public:
  ScratchDir() {
    std::string tmpl = (std::filesystem::temp_directory_path() / "kvn-test.XXXXXX").string();
    if (mkdtemp(&tmpl[0]) != nullptr) m_path = tmpl;
  }
  ~ScratchDir() {
    std::error_code ec;
    if (!m_path.empty()) std::filesystem::remove_all(m_path, ec);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  const std::string& path() const { return m_path; }
  std::string file(const std::string& name) const { return m_path + "/" + name; }

  // Writes `bytes` to the file `name` and gives its path.
  std::string write(const std::string& name, const std::string& bytes) const {
    std::ofstream(file(name), std::ios::binary) << bytes;
    return file(name);
  }
  static std::string read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }

 private:
  std::string m_path;
};

}  // namespace kvn::testing
