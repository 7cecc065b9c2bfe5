#pragma once
// Reads an agent's trace metadata and the profiles out of a load module container. Each read
// opens the container afresh, extracts one module and parses its table blob, so the file is
// mapped only during a read; the profile module alone is extracted once and kept, as it is
// asked for once per profile. While a Hold lives, a module read is kept too, so that the
// several tables one connect reads come from one extraction.

#include <string>
#include <vector>

#include "tracetables/trace_lmc_reader_interface.h"

namespace kvntrace {

class TraceLmcReader : public TraceLmcReaderInterface {
 public:
  static constexpr const char* kProfileModule = "bbDiagProfiles";
  static constexpr const char* kDefaultProfile = "DefaultProfile";

  // Keeps the last module read until the last Hold of the reader ends; holds nest.
  class Hold {
   public:
    explicit Hold(TraceLmcReader& reader);
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

   private:
    TraceLmcReader& m_reader;
  };

  explicit TraceLmcReader(const std::string& lmcPath);
  ~TraceLmcReader() override;

  std::vector<std::string> getTraceObjectNames(const std::string& lmName) override;
  std::vector<int32_t> getStrIdToTraceId(const std::string& lmName) override;
  std::vector<std::string> getTraceFormats(const std::string& lmName) override;
  std::vector<std::string> getProfileNames() override;
  std::vector<std::string> getProfile(const std::string& name) override;
  std::vector<std::string> getUtraceMeta(const std::string& lmName) override;

  // Table `tableName` of module `<lmName>_META`.
  std::vector<std::string> readMetadataTable(const std::string& lmName,
                                             const std::string& tableName);
  // Table `tableName` of module `lmName`; with an empty table name, the names of its tables.
  std::vector<std::string> readTable(const std::string& lmName, const std::string& tableName);

  // The four lines of "DefaultProfile", which no module can override.
  static const std::vector<std::string>& defaultProfileLines();

 private:
  // The blob of module `name`: the cache for the profile module, the held module, else
  // `scratch` filled by a fresh extraction. Null when there is none.
  const std::string* loadModuleBlob(const std::string& name, std::string& scratch);
  // Opens the container for this one extraction.
  bool extractModule(const std::string& name, std::string& out) const;

  std::string m_lmcPath;
  std::string m_profileBlob;
  bool m_profileBlobTried = false;
  int m_holds = 0;
  std::string m_heldName;  // empty when nothing is held
  std::string m_heldBlob;
};

}  // namespace kvntrace
