#include "util/mainloop/callback_utils.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace {

class Owner : public kvn::CallbackUtils {};

TEST(CallbackUtils, CallbackForwardsWhileItsOwnerLivesAndIsSilentAfter) {
  auto owner = std::make_unique<Owner>();
  int sum = 0;
  auto cb = owner->getKillableCallback<int>(std::function<void(int)>([&](int v) { sum += v; }));
  cb(2);
  EXPECT_EQ(sum, 2);
  owner.reset();
  cb(40);
  EXPECT_EQ(sum, 2);
}

TEST(CallbackUtils, ReferenceArgumentsReachTheCallable) {
  Owner owner;
  int value = 1;
  int* ptr = &value;
  auto cb = owner.getKillableCallback<int*&, size_t>(
      std::function<void(int*&, size_t)>([](int*& p, size_t) { p = nullptr; }));
  cb(ptr, 0);
  EXPECT_EQ(ptr, nullptr);
}

}  // namespace
