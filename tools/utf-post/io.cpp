#include "io.h"

#include "failure.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
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

// ---------------------------------------------------------------------------------------------
// Interrupting signals. SIGINT, SIGTERM and SIGHUP end a run at once: the handler removes the
// temporary output file itself, with unlink() on a path stored beforehand, writes one line with
// write() and raises the signal again with its default action, so that the process ends by the
// signal (a shell reports 128 + its number) as it would without the handler. The work is done in
// the handler rather than by a flag that the row loop checks because the loop may be blocked for
// as long as the input takes to come (a read() from a pipe or a terminal): a flag would not be
// seen until then. Only async-signal-safe calls happen in the handler, on fixed arrays.

const int s_stopSignals[] = {SIGINT, SIGTERM, SIGHUP};

// The temporary file to remove, and the end of the message ("; out.csv not written").
char s_temporaryPath[4096];
char s_notWritten[4200];
volatile std::sig_atomic_t s_temporaryActive = 0;
bool s_handlersInstalled = false;

// Copies `text` after `line[length]` as far as `capacity` allows; returns the new length.
std::size_t appendText(char* line, std::size_t length, std::size_t capacity, const char* text) {
  while (*text != '\0' && length + 1 < capacity) {
    line[length++] = *text++;
  }
  return length;
}

const char* signalName(int signal) {
  switch (signal) {
  case SIGINT:
    return "SIGINT";
  case SIGTERM:
    return "SIGTERM";
  default:
    return "SIGHUP";
  }
}

extern "C" void stopOnSignal(int signal) {
  char line[4400];
  std::size_t length = appendText(line, 0, sizeof line, "utf-post: stopped by ");
  length = appendText(line, length, sizeof line, signalName(signal));
  if (s_temporaryActive != 0) {
    ::unlink(s_temporaryPath);
    s_temporaryActive = 0;
    length = appendText(line, length, sizeof line, s_notWritten);
  }
  line[length++] = '\n';
  (void)!::write(STDERR_FILENO, line, length);
  // The signal's usual effect (the end of the process), as if we had not caught it: it is
  // blocked while its handler runs and is delivered as the handler returns.
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// Blocks the stop signals for its lifetime, so that the temporary file and its registration
// appear (and disappear) together: a signal that comes in between is delivered afterwards.
class StopSignalsHeld {
public:
  StopSignalsHeld() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : s_stopSignals) {
      sigaddset(&held, signal);
    }
    pthread_sigmask(SIG_BLOCK, &held, &m_previous);
  }
  ~StopSignalsHeld() { pthread_sigmask(SIG_SETMASK, &m_previous, nullptr); }
  StopSignalsHeld(const StopSignalsHeld&) = delete;
  StopSignalsHeld& operator=(const StopSignalsHeld&) = delete;

private:
  sigset_t m_previous;
};

void copyText(char* target, std::size_t capacity, const std::string& text) {
  const std::size_t length = text.size() < capacity - 1 ? text.size() : capacity - 1;
  std::memcpy(target, text.data(), length);
  target[length] = '\0';
}

// Called with the stop signals held.
void registerTemporary(const std::string& temporary, const std::string& target) {
  copyText(s_temporaryPath, sizeof s_temporaryPath, temporary);
  copyText(s_notWritten, sizeof s_notWritten, "; " + target + " not written");
  s_temporaryActive = 1;
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

void installStopHandlers() {
  if (s_handlersInstalled) {
    return;
  }
  s_handlersInstalled = true;
  struct sigaction action;
  std::memset(&action, 0, sizeof action);
  action.sa_handler = stopOnSignal;
  // One stop at a time: a second signal waits while the first one's handler runs.
  sigemptyset(&action.sa_mask);
  for (const int signal : s_stopSignals) {
    sigaddset(&action.sa_mask, signal);
  }
  for (const int signal : s_stopSignals) {
    // A signal that the program was started with ignored stays ignored (a background job of a
    // shell without job control is meant to survive the terminal's SIGINT).
    struct sigaction inherited;
    if (sigaction(signal, nullptr, &inherited) == 0 && inherited.sa_handler == SIG_IGN) {
      continue;
    }
    sigaction(signal, &action, nullptr);
  }
  // A closed standard output is seen as the error EPIPE of the write (OutputClosed), whatever
  // the disposition of SIGPIPE that the program inherited.
  std::signal(SIGPIPE, SIG_IGN);
}

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
    if (errno == EPIPE) {
      throw OutputClosed();
    }
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
  const StopSignalsHeld held;
  m_fd = ::mkstemp(pattern.data());
  if (m_fd < 0) {
    throw Failure(path + ": cannot create the output file: " + reason(errno));
  }
  m_temporary = pattern;
  registerTemporary(m_temporary, m_path);
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
    const StopSignalsHeld held;
    ::unlink(m_temporary.c_str());
    m_temporary.clear();
    s_temporaryActive = 0;
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
  const StopSignalsHeld held;
  if (::rename(m_temporary.c_str(), m_path.c_str()) != 0) {
    const int error = errno;
    discard();
    throw Failure(m_path + ": cannot create the output file: " + reason(error));
  }
  m_temporary.clear();
  s_temporaryActive = 0;
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
