#pragma once
// The commands of lmc-tool. Reading goes through the same classes as the service, so what the
// tool shows is what the service sees; the errors those classes log are printed when a
// command fails.

#include <iosfwd>
#include <string>
#include <vector>

namespace kvn::lmc {

class LmcTool {
 public:
  static constexpr int kOk = 0;
  static constexpr int kFailed = 1;
  static constexpr int kUsage = 2;

  LmcTool(std::ostream& out, std::ostream& err) : m_out(out), m_err(err) {}

  // `args` without the program name.
  int run(const std::vector<std::string>& args);

  static const char* usage();

 private:
  int pack(const std::vector<std::string>& args);
  int list(const std::vector<std::string>& args);
  int extract(const std::vector<std::string>& args);
  int tables(const std::vector<std::string>& args);
  int table(const std::vector<std::string>& args);
  int profiles(const std::vector<std::string>& args);

  // Checks a freshly packed container the way the service will read it.
  bool check(const std::string& path);
  bool moduleExists(const std::string& file, const std::string& identity);
  int fail(const std::string& message);
  int usageError(const std::string& message);
  void printLoggedErrors();

  std::ostream& m_out;
  std::ostream& m_err;
  std::vector<std::string> m_loggedErrors;
};

}  // namespace kvn::lmc
