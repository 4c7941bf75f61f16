#include "io.h"

#include "failure.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace utf_post {

namespace {

std::string reason(int error) {
  return std::strerror(error);
}

// Writes all bytes to a descriptor, retrying after interruptions and short writes.
bool writeAll(int fd, const char* data, std::size_t count) {
  while (count > 0) {
    const ssize_t written = ::write(fd, data, count);
    if (written < 0) {
      if (errno == EINTR) {
        continue;
      }
      return false;
    }
    data += written;
    count -= static_cast<std::size_t>(written);
  }
  return true;
}

// The temporary output file that a signal handler removes. Only async-signal-safe work happens
// in the handler, so the path lives in a fixed array.
char s_temporaryPath[4096];
volatile std::sig_atomic_t s_temporaryActive = 0;
const int s_cleanupSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};
struct sigaction s_previousActions[sizeof s_cleanupSignals / sizeof s_cleanupSignals[0]];

extern "C" void removeTemporaryAndReraise(int signal) {
  if (s_temporaryActive != 0) {
    ::unlink(s_temporaryPath);
    s_temporaryActive = 0;
  }
  // The signal's usual effect (normally the end of the process), as if we had not caught it.
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void installCleanup(const std::string& temporary) {
  const std::size_t length =
      temporary.size() < sizeof s_temporaryPath - 1 ? temporary.size() : sizeof s_temporaryPath - 1;
  std::memcpy(s_temporaryPath, temporary.data(), length);
  s_temporaryPath[length] = '\0';
  s_temporaryActive = 1;
  struct sigaction action;
  std::memset(&action, 0, sizeof action);
  action.sa_handler = removeTemporaryAndReraise;
  sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < sizeof s_cleanupSignals / sizeof s_cleanupSignals[0]; ++i) {
    sigaction(s_cleanupSignals[i], &action, &s_previousActions[i]);
  }
}

void removeCleanup() {
  s_temporaryActive = 0;
  for (std::size_t i = 0; i < sizeof s_cleanupSignals / sizeof s_cleanupSignals[0]; ++i) {
    sigaction(s_cleanupSignals[i], &s_previousActions[i], nullptr);
  }
}

// The folder part of a path ("." for a bare name) and the name part.
void splitPath(const std::string& path, std::string& folder, std::string& name) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) {
    folder = ".";
    name = path;
  } else {
    folder = slash == 0 ? "/" : path.substr(0, slash);
    name = path.substr(slash + 1);
  }
}

} // namespace

// ---------------------------------------------------------------------------------------------

FileSource::FileSource(const std::string& path)
    : m_fd(-1), m_owned(false), m_name(path), m_size(-1) {
  if (path == "-") {
    m_fd = STDIN_FILENO;
    m_name = "<stdin>";
  } else {
    m_fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_fd < 0) {
      throw Failure(path + ": cannot open: " + reason(errno));
    }
    m_owned = true;
  }
  struct stat status;
  if (::fstat(m_fd, &status) == 0) {
    if (S_ISDIR(status.st_mode)) {
      const int error = EISDIR;
      if (m_owned) {
        ::close(m_fd);
      }
      throw Failure(m_name + ": cannot open: " + reason(error));
    }
    if (S_ISREG(status.st_mode)) {
      m_size = static_cast<long long>(status.st_size);
    }
  }
}

FileSource::~FileSource() {
  if (m_owned) {
    ::close(m_fd);
  }
}

std::size_t FileSource::read(char* buffer, std::size_t capacity) {
  for (;;) {
    const ssize_t count = ::read(m_fd, buffer, capacity);
    if (count >= 0) {
      return static_cast<std::size_t>(count);
    }
    if (errno != EINTR) {
      throw Failure(m_name + ": cannot read: " + reason(errno));
    }
  }
}

MemorySource::MemorySource(std::string_view bytes, std::string name)
    : m_bytes(bytes), m_position(0), m_name(std::move(name)) {}

std::size_t MemorySource::read(char* buffer, std::size_t capacity) {
  const std::size_t left = m_bytes.size() - m_position;
  const std::size_t count = left < capacity ? left : capacity;
  std::memcpy(buffer, m_bytes.data() + m_position, count);
  m_position += count;
  return count;
}

void StandardOutputSink::write(const char* data, std::size_t count) {
  if (!writeAll(STDOUT_FILENO, data, count)) {
    throw Failure("<stdout>: cannot write: " + reason(errno));
  }
}

// ---------------------------------------------------------------------------------------------

OutputFile::OutputFile(const std::string& path) : m_path(path), m_fd(-1) {
  std::string folder;
  std::string name;
  splitPath(path, folder, name);
  if (name.empty()) {
    throw Failure(path + ": cannot create the output file: the path names a folder");
  }
  std::string pattern =
      (folder == "/" ? std::string("/") : folder + "/") + "." + name + ".utf-post-XXXXXX";
  m_fd = ::mkstemp(pattern.data());
  if (m_fd < 0) {
    throw Failure(path + ": cannot create the output file: " + reason(errno));
  }
  m_temporary = pattern;
  installCleanup(m_temporary);
}

OutputFile::~OutputFile() {
  discard();
}

void OutputFile::discard() {
  if (m_fd >= 0) {
    ::close(m_fd);
    m_fd = -1;
  }
  if (!m_temporary.empty()) {
    ::unlink(m_temporary.c_str());
    m_temporary.clear();
    removeCleanup();
  }
}

void OutputFile::write(const char* data, std::size_t count) {
  if (!writeAll(m_fd, data, count)) {
    const int error = errno;
    discard();
    throw Failure(m_path + ": cannot write: " + reason(error));
  }
}

void OutputFile::commit() {
  // The usual permissions of a new file: 0666 less the umask (mkstemp made it 0600).
  const mode_t mask = ::umask(0);
  ::umask(mask);
  int error = ::fchmod(m_fd, 0666 & ~mask) == 0 ? 0 : errno;
  // close() reports a delayed write error (a full disk on some file systems).
  if (::close(m_fd) != 0 && error == 0) {
    error = errno;
  }
  m_fd = -1;
  if (error != 0) {
    discard();
    throw Failure(m_path + ": cannot write: " + reason(error));
  }
  if (::rename(m_temporary.c_str(), m_path.c_str()) != 0) {
    const int error = errno;
    discard();
    throw Failure(m_path + ": cannot create the output file: " + reason(error));
  }
  m_temporary.clear();
  removeCleanup();
}

// ---------------------------------------------------------------------------------------------

BufferedWriter::BufferedWriter(ByteSink& sink, std::size_t capacity)
    : m_sink(sink), m_capacity(capacity), m_buffer(capacity, '\0'), m_used(0) {}

void BufferedWriter::flush() {
  if (m_used > 0) {
    m_sink.write(m_buffer.data(), m_used);
    m_used = 0;
  }
}

void BufferedWriter::spill(const char* data, std::size_t count) {
  flush();
  if (count > m_capacity) {
    m_sink.write(data, count);
    return;
  }
  std::char_traits<char>::copy(m_buffer.data(), data, count);
  m_used = count;
}

} // namespace utf_post
