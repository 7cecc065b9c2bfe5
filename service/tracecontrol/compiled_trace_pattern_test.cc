#include "service/tracecontrol/compiled_trace_pattern.h"

#include <fnmatch.h>

#include <gtest/gtest.h>

#include "tracetables/trace_group_table.h"

namespace kvn {
namespace {

// What the literal rule gives: fnmatch on "<object>.<group>" for each group.
uint32_t literalBits(const std::string& pattern, const std::string& object) {
  uint32_t bits = 0;
  for (size_t i = 0; i < TraceGroupTable::count(); ++i) {
    const std::string text = object + "." + TraceGroupTable::name(i);
    if (fnmatch(pattern.c_str(), text.c_str(), 0) == 0) bits |= TraceGroupTable::bit(i);
  }
  return bits;
}

const std::vector<std::string> kPatterns = {"*",          "**",          "*.check",
                                            "*.*",        "Obj*.info",   "*Obj.info",
                                            "Obj*x.info", "*bj*.info",   "a.b.*",
                                            "a.*",        "a.b.**",      "a*.*",
                                            "*.nogroup",  "*.all",       "obj",
                                            "obj.",       ".info",       "",
                                            "o?j.info",   "obj.inf?",    "obj.*o",
                                            "*o",         "[ao]bj.info", "obj.[ie]nfo",
                                            "obj\\.info", "a\\*.info",   "*.state_change",
                                            "*;x.check",  "a.b",         "*.b.check",
                                            "a.b.c.*",    "*_obj",       "obj.trace*",
                                            "*.*.*",      "a*b.*",       "?.check"};

const std::vector<std::string> kObjects = {
    "obj",       "Obj",       "Objx",   "ObjAx",    "xObj",
    "a",         "a.b",       "a.b.c",  "a.bc",     "ab",
    "a.b.check", "",          ".",      "..",       "a.",
    ".a",        "o*j",       "[ao]bj", "obj.info", "bj",
    "x",         "trace_obj", "a*b",    "o\\bj",    "\xc3\xa9t\xc3\xa9",
    "a;b",       "ObjObj"};

TEST(CompiledTracePatternTest, GivesExactlyWhatFnmatchGivesForEveryPatternAndName) {
  for (const std::string& pattern : kPatterns) {
    const CompiledTracePattern compiled(pattern);
    for (const std::string& object : kObjects)
      EXPECT_EQ(compiled.groupBits(object), literalBits(pattern, object))
          << "pattern \"" << pattern << "\" object \"" << object << "\"";
  }
}

TEST(CompiledTracePatternTest, BulkMatchAgreesWithTheSingleObjectMatch) {
  std::vector<TraceObjectEntry> objects;
  for (const std::string& o : kObjects)
    objects.push_back({static_cast<uint16_t>(objects.size()), 0, o, 0});
  objects.push_back({static_cast<uint16_t>(objects.size()), 0, "obj", 0});  // a repeated name
  ObjectNameIndex index(objects);
  for (const std::string& pattern : kPatterns) {
    const CompiledTracePattern compiled(pattern);
    std::vector<uint32_t> bits(objects.size(), 0);
    compiled.orInto(index, bits);
    for (size_t i = 0; i < objects.size(); ++i)
      EXPECT_EQ(bits[i], literalBits(pattern, objects[i].name))
          << "pattern \"" << pattern << "\" object \"" << objects[i].name << "\"";
  }
}

}  // namespace
}  // namespace kvn
