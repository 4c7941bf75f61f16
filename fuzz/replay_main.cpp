// Runs a fuzz target's entry function over saved inputs, without libFuzzer: the tests replay the
// seeds and the inputs of past findings with it. Each argument is a folder (every regular file in
// it, in name order) or a file; a folder that does not exist holds no inputs yet (regressions/
// appears with the first finding). A crash, a sanitizer report or a broken invariant ends the
// program as it would end the fuzzer; replaying no input at all is a failure too. It reports on
// standard error (a target may send standard output to /dev/null).

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> inputsOf(const std::filesystem::path& path) {
  std::vector<std::filesystem::path> inputs;
  if (std::filesystem::is_directory(path)) {
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      if (entry.is_regular_file()) {
        inputs.push_back(entry.path());
      }
    }
    std::sort(inputs.begin(), inputs.end());
  } else if (std::filesystem::exists(path)) {
    inputs.push_back(path);
  }
  return inputs;
}

bool replay(const std::filesystem::path& input) {
  std::ifstream file(input, std::ios::binary);
  if (!file) {
    std::fprintf(stderr, "replay: cannot read %s\n", input.c_str());
    return false;
  }
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::fprintf(stderr, "replay: %s (%zu bytes)\n", input.c_str(), bytes.size());
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  return true;
}

} // namespace

int main(int argc, char** argv) {
  std::size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    for (const std::filesystem::path& input : inputsOf(argv[i])) {
      if (!replay(input)) {
        return 1;
      }
      ++count;
    }
  }
  std::fprintf(stderr, "replay: %zu inputs, no finding\n", count);
  return count > 0 ? 0 : 1;
}
