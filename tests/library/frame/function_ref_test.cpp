#include "frame/function_ref.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace KELRA {
namespace {

int Twice(int value) { return 2 * value; }

TEST(FunctionRef, CallsLambdasFunctionsAndFunctionObjects) {
  const auto plus_one = [](int value) { return value + 1; };
  EXPECT_EQ(FunctionRef<int(int)>(plus_one)(4), 5);
  auto function = Twice;
  EXPECT_EQ(FunctionRef<int(int)>(function)(4), 8);
}

TEST(FunctionRef, ChangesTheCallableItself) {
  int calls = 0;
  auto counter = [&calls, own = 0]() mutable {
    ++calls;
    return ++own;
  };
  const FunctionRef<int()> ref(counter);
  EXPECT_EQ(ref(), 1);
  EXPECT_EQ(ref(), 2);
  EXPECT_EQ(counter(), 3);
  EXPECT_EQ(calls, 3);
}

TEST(FunctionRef, CopiesReferToTheSameCallable) {
  int calls = 0;
  auto count = [&calls] { ++calls; };
  const FunctionRef<void()> ref(count);
  const FunctionRef<void()> copy(ref);  // not a reference to `ref`
  copy();
  EXPECT_EQ(calls, 1);
}

TEST(FunctionRef, PassesReferencesAndMoveOnlyArguments) {
  int changed = 0;
  const auto set = [](int& target, std::unique_ptr<int> value) { target = *value; };
  const FunctionRef<void(int&, std::unique_ptr<int>)> ref(set);
  ref(changed, std::make_unique<int>(9));
  EXPECT_EQ(changed, 9);
}

}  // namespace
}  // namespace KELRA
