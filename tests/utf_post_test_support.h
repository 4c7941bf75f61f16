#ifndef UTF_POST_TEST_SUPPORT_H
#define UTF_POST_TEST_SUPPORT_H

// Helpers of the tests that run the utf-post program: run it with arguments and an input,
// collect its exit status, output, errors and peak memory; temporary folders; reading the CSV it
// writes.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#ifndef UTF_POST_PATH
#error "UTF_POST_PATH must name the utf-post program"
#endif

namespace post_test {

// A new empty folder, removed with its files at the end of the test.
class TempDir {
public:
  TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr ? base : "/tmp") + "/utf-post-test-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
      ADD_FAILURE() << "mkdtemp: " << std::strerror(errno);
    }
    m_path = pattern;
  }
  ~TempDir() {
    for (const std::string& name : entries()) {
      ::unlink((m_path + "/" + name).c_str());
    }
    ::rmdir(m_path.c_str());
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return m_path; }
  std::string file(const std::string& name) const { return m_path + "/" + name; }
  // The names in the folder (hidden ones included), "." and ".." left out.
  std::vector<std::string> entries() const {
    std::vector<std::string> names;
    if (DIR* dir = ::opendir(m_path.c_str())) {
      while (const dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
          names.push_back(name);
        }
      }
      ::closedir(dir);
    }
    return names;
  }

private:
  std::string m_path;
};

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

inline void writeFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

inline bool exists(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0;
}

struct RunResult {
  int status = -1; // the exit status, or -1 when the program did not exit normally
  std::string out;
  std::string err;
  long maxRssKiB = 0; // the child's peak resident memory
};

// Runs utf-post with `arguments`, its standard input read from `input`, in the folder `folder`
// (the current one when empty).
inline RunResult runPost(const std::vector<std::string>& arguments, const std::string& input = "",
                         const std::string& folder = "") {
  TempDir streams;
  const std::string inPath = streams.file("stdin");
  const std::string outPath = streams.file("stdout");
  const std::string errPath = streams.file("stderr");
  writeFile(inPath, input);

  std::vector<char*> argv;
  std::string program = UTF_POST_PATH;
  argv.push_back(program.data());
  std::vector<std::string> copies = arguments;
  for (std::string& argument : copies) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);

  RunResult result;
  const pid_t pid = ::fork();
  if (pid == 0) {
    const int in = ::open(inPath.c_str(), O_RDONLY);
    const int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (in < 0 || out < 0 || err < 0 || ::dup2(in, 0) < 0 || ::dup2(out, 1) < 0 ||
        ::dup2(err, 2) < 0 || (!folder.empty() && ::chdir(folder.c_str()) != 0)) {
      ::_exit(127);
    }
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  if (pid < 0) {
    ADD_FAILURE() << "fork: " << std::strerror(errno);
    return result;
  }
  int status = 0;
  struct rusage usage;
  std::memset(&usage, 0, sizeof usage);
  ::wait4(pid, &status, 0, &usage);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.maxRssKiB = usage.ru_maxrss;
  result.out = readFile(outPath);
  result.err = readFile(errPath);
  return result;
}

// The lines of a text, without their line ends ("\n" or "\r\n").
inline std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) {
      end = text.size();
    }
    std::string line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

// A simple table (no quoted fields) as rows of fields; comment lines left out.
inline std::vector<std::vector<std::string>> tableOf(const std::string& text,
                                                     char separator = ',') {
  std::vector<std::vector<std::string>> rows;
  for (const std::string& line : linesOf(text)) {
    if (line.empty() || line[0] == '#') {
      continue;
    }
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (;;) {
      const std::size_t end = line.find(separator, start);
      fields.push_back(
          line.substr(start, end == std::string::npos ? std::string::npos : end - start));
      if (end == std::string::npos) {
        break;
      }
      start = end + 1;
    }
    rows.push_back(fields);
  }
  return rows;
}

// The column of a table's header named `name`; fails the test when there is none.
inline std::size_t columnOf(const std::vector<std::vector<std::string>>& table,
                            const std::string& name) {
  for (std::size_t i = 0; !table.empty() && i < table[0].size(); ++i) {
    if (table[0][i] == name) {
      return i;
    }
  }
  ADD_FAILURE() << "no column " << name;
  return 0;
}

inline double number(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  EXPECT_TRUE(end != text.c_str() && *end == '\0') << "not a number: \"" << text << "\"";
  return value;
}

} // namespace post_test

#endif
