// hkm::PXM against a scripted mailbox library: this program defines the pxm_ functions itself,
// so it is built as its own test binary.
#include "util/mailbox/hkm_pxm.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "util/mailbox/hkm_pxm_exception.h"

namespace {
struct Script {
  int32_t initResult = 0;
  const char* initNamespace = "unset";
  int32_t initCount = -1;
  pxm_mbox_id_t createResult = 0x100;
  bool allocFails = false;
  int32_t setsizeResult = 1;
  pxm_mbox_id_t locateResult = PXM_NO_MBOX;
  std::vector<std::string> calls;
};
Script script;
uint32_t fakeWord;
}  // namespace

extern "C" {
int32_t pxm_init(int32_t count, int32_t, const void*, const char* ns, uint32_t) {
  script.initCount = count;
  script.initNamespace = ns;
  script.calls.push_back("init");
  return script.initResult;
}
void pxm_exit(void) { script.calls.push_back("exit"); }
pxm_mbox_id_t pxm_create_mailbox(const char*, uint32_t) { return script.createResult; }
void pxm_delete_mailbox(pxm_mbox_id_t m) { script.calls.push_back("delete " + std::to_string(m)); }
union pxm_msg* pxm_alloc(size_t, uint32_t) {
  return script.allocFails ? nullptr : reinterpret_cast<pxm_msg*>(&fakeWord);
}
void pxm_free(union pxm_msg** m) { *m = nullptr; }
void pxm_send(union pxm_msg** m, pxm_mbox_id_t, pxm_mbox_id_t) { *m = nullptr; }
union pxm_msg* pxm_receive(const uint32_t*, uint32_t, pxm_mbox_id_t) {
  return nullptr;
}
pxm_mbox_id_t pxm_sender(union pxm_msg*) { return 0; }
pxm_mbox_id_t pxm_receiver(union pxm_msg*) { return 0; }
size_t pxm_size(union pxm_msg*) { return 0; }
int32_t pxm_setsize(union pxm_msg*, size_t) { return script.setsizeResult; }
pxm_mbox_id_t pxm_locate(const char*) { return script.locateResult; }
void pxm_locate_async(const char*, union pxm_msg**, pxm_mbox_id_t) {}
int32_t pxm_get_name(pxm_mbox_id_t, char*, uint32_t) { return 0; }
pxm_monitor_id_t pxm_monitor(pxm_mbox_id_t, union pxm_msg**) { return 0; }
void pxm_unmonitor(pxm_monitor_id_t) {}
}

namespace {

class HkmPxmTest : public ::testing::Test {
 protected:
  void SetUp() override { script = Script(); }
};

template <typename F>
std::string failureText(F f) {
  try {
    f();
  } catch (const hkm::PXMException& e) {
    return e.what();
  }
  return "no exception";
}

TEST_F(HkmPxmTest, FailedInitAppendsTheCodeAsOneCharacter) {
  script.initResult = 'A';
  EXPECT_EQ(failureText([] { hkm::PXM pxm(2, 0, nullptr, "ns", 0); }),
            "error when calling pxm_init. ret code = A");
  script.initResult = 1;
  EXPECT_EQ(failureText([] { hkm::PXM pxm(2, 0, nullptr, nullptr, 0); }),
            std::string("error when calling pxm_init. ret code = \x01"));
  EXPECT_EQ(script.initCount, 2);
  EXPECT_EQ(script.initNamespace, nullptr);
  // Nothing was brought up, so nothing is taken down.
  EXPECT_EQ(script.calls, (std::vector<std::string>{"init", "init"}));
}

TEST_F(HkmPxmTest, FailuresOfCallsCarryTheirTexts) {
  hkm::PXM pxm(2, 0, nullptr, nullptr, 0);
  script.allocFails = true;
  EXPECT_EQ(failureText([&] { pxm.alloc(12, 1); }), "pxm_alloc() failed.");
  script.setsizeResult = 0;
  EXPECT_EQ(failureText([&] { pxm.setsize(nullptr, 4); }), "pxm_setsize() failed.");
  EXPECT_EQ(failureText([&] { pxm.locate("tsi"); }), "pxm_locate(tsi) failed.");
}

TEST_F(HkmPxmTest, DestructorDeletesItsRemainingMailboxesThenLeaves) {
  {
    hkm::PXM pxm(2, 0, nullptr, nullptr, 0);
    script.createResult = 7;
    pxm.create_mailbox("a", 0);
    script.createResult = 8;
    pxm.create_mailbox("b", 0);
    pxm.delete_mailbox(7);
    pxm.delete_mailbox(99);  // not ours: still passed on
  }
  EXPECT_EQ(script.calls,
            (std::vector<std::string>{"init", "delete 7", "delete 99", "delete 8", "exit"}));
}

}  // namespace
