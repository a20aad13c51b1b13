// Under libFuzzer: the first expectation that does not hold ends the program, which makes it a found case.
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

class EndAtFailure : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.failed()) {
      std::fprintf(stderr, "%s:%d: %s\n", result.file_name(), result.line_number(), result.message());
      std::abort();
    }
  }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  testing::UnitTest::GetInstance()->listeners().Append(new EndAtFailure);
  // The milestones of the service, once for each input.
  return std::freopen("/dev/null", "w", stdout) != nullptr ? 0 : 1;
}
