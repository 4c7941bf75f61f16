// Fuzz target: utf-post's command line, in process, through runCommandLine (the whole program
// but main): the option parser, the checks of combinations and values, and the run they lead to.
//
// The input is split into arguments at NUL and newline bytes. Each argument vector runs in a
// scratch folder of the process that holds one small table, t.csv (named by the seeds): every
// '/' of an argument becomes '_', so that a path can name only a file of that folder, standard
// input reads /dev/null and standard output goes to /dev/null. Before each run t.csv is written
// afresh (a run may have replaced it with -o), and after it the folder is emptied.
//
// Checked: the exit status is 0 or 2, the only two the program has; a crash, a sanitizer report or
// an exception that escapes is a finding. (The program's messages go to standard error: run.sh
// runs this target with -close_fd_mask=2.)

#include "fuzz_check.h"

#include "cli.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

const char* const tableName = "t.csv";
const char* const table = "# a comment\n"
                          "point,X,Y,Z,S11,S22,S33,S12,S13,S23\n"
                          "1,10,0,0,0,-100,0,0,0,0\n"
                          "2,0,10,0,300,0,0,0,0,0\n"
                          "3,5,5,1,1,2,3,4,5,6\n";

std::filesystem::path s_scratch;

void removeScratch() {
  std::error_code ignored;
  std::filesystem::remove_all(s_scratch, ignored);
}

// Once per process: the scratch folder, and /dev/null as standard input and output.
void makeScratch() {
  std::string pattern = (std::filesystem::temp_directory_path() / "utf-fuzz-options-XXXXXX");
  FUZZ_CHECK(::mkdtemp(pattern.data()) != nullptr);
  s_scratch = pattern;
  std::atexit(removeScratch);
  const int null = ::open("/dev/null", O_RDWR);
  FUZZ_CHECK(null >= 0);
  FUZZ_CHECK(::dup2(null, STDIN_FILENO) == STDIN_FILENO);
  FUZZ_CHECK(::dup2(null, STDOUT_FILENO) == STDOUT_FILENO);
  ::close(null);
}

// The scratch folder as the working folder for one run: it holds only a fresh t.csv when the run
// starts, nothing when it ends, and the fuzzer's own folder is the working folder again after it
// (libFuzzer reads and writes its corpus by relative paths).
class ScratchRun {
public:
  ScratchRun() : m_previous(std::filesystem::current_path()) {
    std::filesystem::current_path(s_scratch);
    std::ofstream(tableName, std::ios::binary | std::ios::trunc) << table;
  }
  ~ScratchRun() {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(s_scratch)) {
      std::filesystem::remove_all(entry.path(), ignored);
    }
    std::filesystem::current_path(m_previous);
  }
  ScratchRun(const ScratchRun&) = delete;
  ScratchRun& operator=(const ScratchRun&) = delete;

private:
  std::filesystem::path m_previous;
};

// The arguments: the program's name, then the input's pieces between NUL and newline bytes (a
// separator at the very end ends the last piece rather than starting an empty one).
std::vector<std::string> argumentsOf(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> arguments = {"utf-post"};
  std::string current;
  for (std::size_t i = 0; i <= size; ++i) {
    if (i == size && current.empty() &&
        (size == 0 || data[size - 1] == '\0' || data[size - 1] == '\n')) {
      break;
    }
    if (i == size || data[i] == '\0' || data[i] == '\n') {
      arguments.push_back(current);
      current.clear();
    } else {
      current.push_back(data[i] == '/' ? '_' : static_cast<char>(data[i]));
    }
  }
  return arguments;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (s_scratch.empty()) {
    makeScratch();
  }
  std::vector<std::string> arguments = argumentsOf(data, size);
  std::vector<char*> argv;
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  const ScratchRun run;
  const int status = utf_post::runCommandLine(static_cast<int>(arguments.size()), argv.data());
  FUZZ_CHECK(status == 0 || status == 2);
  std::fflush(stdout);
  return 0;
}
