// Runs a test once with the row kernels of each instruction set that this processor has.
#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "frame/kernels/row_kernels.h"

namespace kelra_test {

class EveryInstructionSet : public ::testing::TestWithParam<const KELRA::kernels::RowKernels*> {
 protected:
  void SetUp() override { KELRA::kernels::UseRowKernels(*GetParam()); }
  void TearDown() override { KELRA::kernels::UseRowKernels(before_); }

 private:
  const KELRA::kernels::RowKernels& before_ = KELRA::kernels::ActiveRowKernels();
};

inline std::string InstructionSetName(
    const ::testing::TestParamInfo<const KELRA::kernels::RowKernels*>& info) {
  std::string name;
  for (const char* c = info.param->instruction_set; *c != '\0'; ++c) {
    name += std::isalnum(static_cast<unsigned char>(*c)) != 0 ? *c : '_';
  }
  return name;
}

}  // namespace kelra_test

#define KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(Suite)                                    \
  INSTANTIATE_TEST_SUITE_P(, Suite,                                                           \
                           ::testing::ValuesIn(KELRA::kernels::SupportedRowKernels().begin(), \
                                               KELRA::kernels::SupportedRowKernels().end()),  \
                           kelra_test::InstructionSetName)
