#include "service/tracecontrol/object_name_index.h"

namespace kvn {

const std::vector<uint32_t>* ObjectNameIndex::find(std::string_view name) {
  if (!built_) {
    byName_.reserve(objects_.size());
    for (size_t i = 0; i < objects_.size(); ++i)
      byName_[objects_[i].name].push_back(static_cast<uint32_t>(i));
    built_ = true;
  }
  auto it = byName_.find(name);
  return it == byName_.end() ? nullptr : &it->second;
}

}  // namespace kvn
