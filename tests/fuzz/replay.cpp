// Gives the inputs of a corpus to a fuzz target, for builds without libFuzzer: what was found once stays
// found.
#include "tests/fuzz/fuzz_target.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesIn(const char* folder) {
  std::vector<fs::path> files;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

void replay(const fs::path& path) {
  std::fprintf(stderr, "%s\n", path.c_str()); // the last one when the program ends here
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "%s: accepted is one folder of inputs\n", argv[0]);
    return 2;
  }
  const std::vector<fs::path> files = filesIn(argv[1]);
  if (files.empty()) {
    std::fprintf(stderr, "%s: there is no input in '%s'; accepted is a folder with inputs\n", argv[0],
                 argv[1]);
    return 2;
  }
  std::for_each(files.begin(), files.end(), replay);
  return testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed() ? 1 : 0;
}
