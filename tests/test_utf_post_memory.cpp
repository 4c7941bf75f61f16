// utf-post streams: a table of 1,000,000 rows is processed in the memory of a table of 1,000.
// The table is generated here and fed through a pipe (it never exists as a file); the peak
// resident memory of the program is measured by the kernel (wait4, ru_maxrss) for both sizes.
// The bound is on the growth, not on the absolute figure, so that it holds under the sanitizers
// (whose shadow memory raises every figure alike): holding the table would need about 90 MB.

#include "utf_post_test_support.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

using namespace post_test;

namespace {

// Rows of the large table. The sanitizer build runs the program several times slower; its
// table has the same 1,000,000 rows (the test takes a few seconds there).
const long largeRows = 1000000;
const long smallRows = 1000;

// The peak memory (KiB) of utf-post processing `rows` generated rows from its standard input
// to /dev/null, with mises,max-principal and components in a cylindrical system.
long peakMemoryFor(long rows, long& written) {
  int pipeEnds[2];
  if (::pipe(pipeEnds) != 0) {
    ADD_FAILURE() << "pipe";
    return 0;
  }
  TempDir folder;
  const std::string errors = folder.file("stderr");
  const std::string counted = folder.file("stdout");
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::close(pipeEnds[1]);
    const int out = ::open(counted.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int err = ::open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::dup2(pipeEnds[0], 0);
    ::dup2(out, 1);
    ::dup2(err, 2);
    std::string program = UTF_POST_PATH;
    std::vector<std::string> arguments = {program, "--outputs", "mises,max-principal,components",
                                          "--cylindrical"};
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  ::close(pipeEnds[0]);
  // Writing to a program that failed must not end this test.
  std::signal(SIGPIPE, SIG_IGN);

  // Rows from a small set of distinct stress states, each with its own number and point.
  std::string block;
  char line[160];
  const std::string header = "id,X,Y,Z,S11,S22,S33,S12,S13,S23\n";
  (void)!::write(pipeEnds[1], header.data(), header.size());
  for (long i = 0; i < rows; ++i) {
    const double angle = static_cast<double>(i % 360);
    const int length =
        std::snprintf(line, sizeof line, "%ld,%.6f,%.6f,%.3f,%.5f,%.5f,%.5f,%.5f,%.5f,%.5f\n", i,
                      10.0 + angle * 0.01, 5.0 - angle * 0.02, angle * 0.1, 100.0 + angle,
                      -20.5 + angle * 0.5, 3.25, 12.0 - angle * 0.1, -4.5, angle * 0.03);
    block.append(line, static_cast<std::size_t>(length));
    if (block.size() > 60000 || i + 1 == rows) {
      const char* data = block.data();
      std::size_t left = block.size();
      while (left > 0) {
        const ssize_t count = ::write(pipeEnds[1], data, left);
        if (count <= 0) {
          left = 0;
          break;
        }
        data += count;
        left -= static_cast<std::size_t>(count);
      }
      block.clear();
    }
  }
  ::close(pipeEnds[1]);
  int status = 0;
  struct rusage usage;
  std::memset(&usage, 0, sizeof usage);
  ::wait4(pid, &status, 0, &usage);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << readFile(errors);
  EXPECT_EQ(readFile(errors), "");
  // Every row came out: count the lines of the output (without holding it all at once).
  written = 0;
  if (std::FILE* out = std::fopen(counted.c_str(), "rb")) {
    char chunk[1 << 16];
    std::size_t count;
    while ((count = std::fread(chunk, 1, sizeof chunk, out)) > 0) {
      for (std::size_t k = 0; k < count; ++k) {
        written += chunk[k] == '\n' ? 1 : 0;
      }
    }
    std::fclose(out);
  }
  return usage.ru_maxrss;
}

} // namespace

TEST(Memory, AMillionRowsInTheMemoryOfAThousand) {
  long smallWritten = 0;
  long largeWritten = 0;
  const long small = peakMemoryFor(smallRows, smallWritten);
  const long large = peakMemoryFor(largeRows, largeWritten);
  EXPECT_EQ(smallWritten, smallRows + 1);
  EXPECT_EQ(largeWritten, largeRows + 1);
  RecordProperty("peak_kib_1000_rows", std::to_string(small));
  RecordProperty("peak_kib_1000000_rows", std::to_string(large));
  std::printf("peak resident memory: %ld KiB for %ld rows, %ld KiB for %ld rows\n", small,
              smallRows, large, largeRows);
  // The input alone is about 90 MB and the output more: 8 MiB of growth is far below either.
  EXPECT_LT(large - small, 8 * 1024L) << "peak " << large << " KiB against " << small << " KiB";
}
