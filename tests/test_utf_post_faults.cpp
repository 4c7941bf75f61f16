// utf-post, run as a program, when the output fails under it: a full disk (the file-size limit
// of the process, or the device that is always full), a standard output closed by its reader,
// and SIGINT, SIGTERM or SIGHUP in the middle of a large run. Each ends with its documented
// status and message, leaves no temporary file and keeps an existing output file as it was.

#include "utf_post_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/inotify.h>
#include <vector>

using namespace post_test;

namespace {

const char* const fullHeader = "id,S11,S22,S33,S12,S13,S23\n";

// `rows` data rows (first number `first`), about 25 bytes each.
std::string rowsFrom(long first, long rows) {
  std::string text;
  for (long i = first; i < first + rows; ++i) {
    text += std::to_string(i) + ",100," + std::to_string(i % 97) + ",-30,12.5,0,7\n";
  }
  return text;
}

// How the child's streams and signals are set up before utf-post starts.
struct ChildSetup {
  std::string folder;            // the working folder
  int in = -1;                   // standard input (-1: /dev/null)
  int out = -1;                  // standard output (-1: /dev/null)
  std::string outPath;           // or a path to open for standard output
  std::string errPath;           // standard error's file
  rlim_t fileSizeLimit = 0;      // RLIMIT_FSIZE when not 0 (SIGXFSZ then ignored)
  bool ignoreBrokenPipe = false; // SIGPIPE inherited as ignored rather than default
  bool ignoreInterrupt = false;  // SIGINT inherited as ignored (a background job)
  std::vector<int> closeInChild; // descriptors of the test that the child must not keep
};

// Starts utf-post with `arguments`; the child's signal dispositions are the defaults, whatever
// the test program's are.
pid_t startPost(const std::vector<std::string>& arguments, const ChildSetup& setup) {
  std::vector<std::string> copies = arguments;
  copies.insert(copies.begin(), UTF_POST_PATH);
  std::vector<char*> argv;
  for (std::string& argument : copies) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  const pid_t pid = ::fork();
  if (pid != 0) {
    EXPECT_GT(pid, 0) << "fork: " << std::strerror(errno);
    return pid;
  }
  for (const int fd : setup.closeInChild) {
    ::close(fd);
  }
  const int null = ::open("/dev/null", O_RDWR);
  const int in = setup.in >= 0 ? setup.in : null;
  const int out = setup.out >= 0           ? setup.out
                  : !setup.outPath.empty() ? ::open(setup.outPath.c_str(), O_WRONLY)
                                           : null;
  const int err = ::open(setup.errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (null < 0 || out < 0 || err < 0 || ::dup2(in, 0) < 0 || ::dup2(out, 1) < 0 ||
      ::dup2(err, 2) < 0 || ::chdir(setup.folder.c_str()) != 0) {
    ::_exit(127);
  }
  for (const int fd : {null, in, out, err}) {
    if (fd > 2) {
      ::close(fd);
    }
  }
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    std::signal(signal, SIG_DFL);
  }
  if (setup.ignoreBrokenPipe) {
    std::signal(SIGPIPE, SIG_IGN);
  }
  if (setup.ignoreInterrupt) {
    std::signal(SIGINT, SIG_IGN);
  }
  if (setup.fileSizeLimit > 0) {
    // Beyond the limit a write fails with EFBIG instead of raising SIGXFSZ: a full disk, as a
    // program sees it, without a file system of our own.
    std::signal(SIGXFSZ, SIG_IGN);
    const struct rlimit limit = {setup.fileSizeLimit, setup.fileSizeLimit};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) {
      ::_exit(127);
    }
  }
  ::execv(argv[0], argv.data());
  ::_exit(127);
}

// The raw wait status of a child.
int waitFor(pid_t pid) {
  int status = 0;
  EXPECT_EQ(::waitpid(pid, &status, 0), pid);
  return status;
}

std::vector<std::string> sortedEntries(const TempDir& folder) {
  std::vector<std::string> entries = folder.entries();
  std::sort(entries.begin(), entries.end());
  return entries;
}

// Writes all of `text` to a pipe; false when the reader is gone.
bool writeAllTo(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::write(fd, text.data() + done, text.size() - done);
    if (count <= 0) {
      return false;
    }
    done += static_cast<std::size_t>(count);
  }
  return true;
}

// True once an event of the inotify descriptor `watch` (a folder watched for modifications)
// names a file starting with `prefix`; reads the events at hand and does not wait.
bool modifiedFileSeen(int watch, const std::string& prefix) {
  struct pollfd ready = {watch, POLLIN, 0};
  bool seen = false;
  while (!seen && ::poll(&ready, 1, 0) > 0) {
    alignas(struct inotify_event) char events[4096];
    const ssize_t count = ::read(watch, events, sizeof events);
    for (ssize_t at = 0; at < count;) {
      const auto* event = reinterpret_cast<const struct inotify_event*>(events + at);
      if (event->len > 0 && std::string(event->name).rfind(prefix, 0) == 0) {
        seen = true;
      }
      at += static_cast<ssize_t>(sizeof(struct inotify_event) + event->len);
    }
  }
  return seen;
}

// A run of `utf-post - -o out.csv`, over an existing out.csv, fed through a pipe and stopped by
// `signal` once it has written its first block to the temporary file (seen through inotify, not
// guessed with a delay): the run is then in the middle of its table, with more rows to come.
void expectStopBySignal(int signal, const char* name) {
  TempDir folder;
  writeFile(folder.file("out.csv"), "precious\n");
  const int watch = ::inotify_init1(IN_CLOEXEC);
  ASSERT_GE(watch, 0);
  ASSERT_GE(::inotify_add_watch(watch, folder.path().c_str(), IN_MODIFY), 0);
  int input[2];
  ASSERT_EQ(::pipe(input), 0);
  // The test must outlive a child that stops reading.
  const auto previous = std::signal(SIGPIPE, SIG_IGN);

  ChildSetup setup;
  setup.folder = folder.path();
  setup.in = input[0];
  setup.errPath = folder.file("stderr");
  setup.closeInChild = {input[1], watch};
  const pid_t pid = startPost({"-", "-o", "out.csv", "--outputs", "mises,components"}, setup);
  ::close(input[0]);

  bool started = writeAllTo(input[1], fullHeader);
  long rows = 0;
  while (started && !modifiedFileSeen(watch, ".out.csv.utf-post-") && rows < 2000000) {
    started = writeAllTo(input[1], rowsFrom(rows, 2000));
    rows += 2000;
  }
  EXPECT_TRUE(started) << "utf-post stopped reading before the signal";
  ::kill(pid, signal);
  const int status = waitFor(pid);
  ::close(input[1]);
  ::close(watch);
  std::signal(SIGPIPE, previous);

  ASSERT_TRUE(WIFSIGNALED(status)) << "exit status " << WEXITSTATUS(status);
  EXPECT_EQ(WTERMSIG(status), signal);
  EXPECT_EQ(readFile(folder.file("stderr")),
            "utf-post: stopped by " + std::string(name) + "; out.csv not written\n");
  EXPECT_EQ(readFile(folder.file("out.csv")), "precious\n");
  EXPECT_EQ(sortedEntries(folder), (std::vector<std::string>{"out.csv", "stderr"}));
}

} // namespace

TEST(OutputFaults, FullDiskWhileWritingTheOutputFile) {
  // A file-size limit of 64 KiB and an output of about 1.3 MB: a write of the temporary fails.
  TempDir folder;
  writeFile(folder.file("input.csv"), std::string(fullHeader) + rowsFrom(0, 30000));
  writeFile(folder.file("out.csv"), "precious\n");
  ChildSetup setup;
  setup.folder = folder.path();
  setup.errPath = folder.file("stderr");
  setup.fileSizeLimit = 64 * 1024;
  const int status =
      waitFor(startPost({"input.csv", "-o", "out.csv", "--outputs", "mises"}, setup));
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 2);
  EXPECT_EQ(readFile(folder.file("stderr")), "utf-post: out.csv: cannot write: File too large\n");
  EXPECT_EQ(readFile(folder.file("out.csv")), "precious\n");
  EXPECT_EQ(sortedEntries(folder), (std::vector<std::string>{"input.csv", "out.csv", "stderr"}));
}

TEST(OutputFaults, FullDeviceOnStandardOutput) {
  // /dev/full refuses every write with ENOSPC, as a full disk does.
  TempDir folder;
  writeFile(folder.file("input.csv"), std::string(fullHeader) + rowsFrom(0, 30000));
  ChildSetup setup;
  setup.folder = folder.path();
  setup.outPath = "/dev/full";
  setup.errPath = folder.file("stderr");
  const int status = waitFor(startPost({"input.csv"}, setup));
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 2);
  EXPECT_EQ(readFile(folder.file("stderr")),
            "utf-post: <stdout>: cannot write: No space left on device\n");
  EXPECT_EQ(sortedEntries(folder), (std::vector<std::string>{"input.csv", "stderr"}));
}

TEST(OutputFaults, ClosedStandardOutputStopsQuietly) {
  // `utf-post input.csv | head -n 1`: the reader takes the header line and closes the pipe while
  // most of the 1.3 MB table is still to be written (a pipe holds 64 KiB). The outcome is the
  // same whether SIGPIPE comes in as default or as ignored.
  TempDir folder;
  writeFile(folder.file("input.csv"), std::string(fullHeader) + rowsFrom(0, 30000));
  for (const bool ignoreBrokenPipe : {false, true}) {
    int output[2];
    ASSERT_EQ(::pipe(output), 0);
    ChildSetup setup;
    setup.folder = folder.path();
    setup.out = output[1];
    setup.errPath = folder.file("stderr");
    setup.ignoreBrokenPipe = ignoreBrokenPipe;
    setup.closeInChild = {output[0]};
    const pid_t pid = startPost({"input.csv", "--outputs", "mises"}, setup);
    ::close(output[1]);
    std::string first;
    char chunk[256];
    ssize_t count = 0;
    while (first.find('\n') == std::string::npos &&
           (count = ::read(output[0], chunk, sizeof chunk)) > 0) {
      first.append(chunk, static_cast<std::size_t>(count));
    }
    ::close(output[0]);
    const int status = waitFor(pid);
    EXPECT_EQ(first.substr(0, first.find('\n')), "id,S11,S22,S33,S12,S13,S23,mises");
    ASSERT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 128 + SIGPIPE) << "SIGPIPE ignored: " << ignoreBrokenPipe;
    EXPECT_EQ(readFile(folder.file("stderr")), "");
  }
  EXPECT_EQ(sortedEntries(folder), (std::vector<std::string>{"input.csv", "stderr"}));
}

TEST(OutputFaults, SigintInTheMiddleOfALargeRun) {
  expectStopBySignal(SIGINT, "SIGINT");
}

TEST(OutputFaults, SigtermInTheMiddleOfALargeRun) {
  expectStopBySignal(SIGTERM, "SIGTERM");
}

TEST(OutputFaults, SighupInTheMiddleOfALargeRun) {
  expectStopBySignal(SIGHUP, "SIGHUP");
}

TEST(OutputFaults, SigintOfARunToStandardOutput) {
  // No output file: the line names the signal only, and the run ends by it. The signal comes
  // once the first block of the table has reached the test through the pipe.
  TempDir folder;
  int input[2];
  int output[2];
  ASSERT_EQ(::pipe(input), 0);
  ASSERT_EQ(::pipe(output), 0);
  const auto previous = std::signal(SIGPIPE, SIG_IGN);
  ChildSetup setup;
  setup.folder = folder.path();
  setup.in = input[0];
  setup.out = output[1];
  setup.errPath = folder.file("stderr");
  setup.closeInChild = {input[1], output[0]};
  const pid_t pid = startPost({"--outputs", "mises"}, setup);
  ::close(input[0]);
  ::close(output[1]);
  // Rows go in until the first output comes out. The program may be waiting for its output to
  // be read while the test writes, so the test never blocks on a write: it waits (poll) for the
  // output or for room in the input pipe, and writes what fits.
  ASSERT_EQ(::fcntl(input[1], F_SETFL, O_NONBLOCK), 0);
  std::string pending = fullHeader;
  long rows = 0;
  for (;;) {
    if (pending.empty()) {
      pending = rowsFrom(rows, 2000);
      rows += 2000;
    }
    struct pollfd ends[2] = {{output[0], POLLIN, 0}, {input[1], POLLOUT, 0}};
    ASSERT_GT(::poll(ends, 2, -1), 0);
    if (ends[0].revents != 0) {
      break;
    }
    ASSERT_EQ(ends[1].revents & (POLLERR | POLLHUP), 0) << "utf-post stopped reading";
    const ssize_t count = ::write(input[1], pending.data(), pending.size());
    if (count > 0) {
      pending.erase(0, static_cast<std::size_t>(count));
    }
  }
  ::kill(pid, SIGINT);
  // Drain the pipe so that the child is never held up by a full one.
  char chunk[4096];
  while (::read(output[0], chunk, sizeof chunk) > 0) {
  }
  const int status = waitFor(pid);
  ::close(input[1]);
  ::close(output[0]);
  std::signal(SIGPIPE, previous);
  ASSERT_TRUE(WIFSIGNALED(status)) << "exit status " << WEXITSTATUS(status);
  EXPECT_EQ(WTERMSIG(status), SIGINT);
  EXPECT_EQ(readFile(folder.file("stderr")), "utf-post: stopped by SIGINT\n");
  EXPECT_EQ(sortedEntries(folder), std::vector<std::string>{"stderr"});
}

TEST(OutputFaults, SigintIgnoredFromTheStartStaysIgnored) {
  // A background job of a shell without job control starts with SIGINT ignored: the run goes
  // on through a SIGINT (sent once its output file is being written) and ends normally.
  TempDir folder;
  const int watch = ::inotify_init1(IN_CLOEXEC);
  ASSERT_GE(watch, 0);
  ASSERT_GE(::inotify_add_watch(watch, folder.path().c_str(), IN_MODIFY), 0);
  int input[2];
  ASSERT_EQ(::pipe(input), 0);
  const auto previous = std::signal(SIGPIPE, SIG_IGN);
  ChildSetup setup;
  setup.folder = folder.path();
  setup.in = input[0];
  setup.errPath = folder.file("stderr");
  setup.ignoreInterrupt = true;
  setup.closeInChild = {input[1], watch};
  const pid_t pid = startPost({"-", "-o", "out.csv", "--outputs", "mises"}, setup);
  ::close(input[0]);
  bool started = writeAllTo(input[1], fullHeader);
  long rows = 0;
  while (started && !modifiedFileSeen(watch, ".out.csv.utf-post-") && rows < 2000000) {
    started = writeAllTo(input[1], rowsFrom(rows, 2000));
    rows += 2000;
  }
  EXPECT_TRUE(started) << "utf-post stopped reading before the signal";
  ::kill(pid, SIGINT);
  EXPECT_TRUE(writeAllTo(input[1], rowsFrom(rows, 2000)));
  rows += 2000;
  ::close(input[1]);
  const int status = waitFor(pid);
  ::close(watch);
  std::signal(SIGPIPE, previous);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0) << readFile(folder.file("stderr"));
  EXPECT_EQ(readFile(folder.file("stderr")), "");
  // Every row is in the output: the header and `rows` lines.
  const std::string written = readFile(folder.file("out.csv"));
  EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), rows + 1);
  EXPECT_EQ(sortedEntries(folder), (std::vector<std::string>{"out.csv", "stderr"}));
}
