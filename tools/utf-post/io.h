#ifndef UTF_POST_IO_H
#define UTF_POST_IO_H

// Byte streams of utf-post: where a table comes from and where the result goes. Everything is
// read and written in blocks through fixed buffers, so memory does not grow with the table.

#include <cstddef>
#include <string>
#include <string_view>

namespace utf_post {

// The process's handling of stop signals, installed once for good by the program's main (later
// calls do nothing):
// SIGINT, SIGTERM and SIGHUP remove the temporary of an OutputFile being written, print
// "utf-post: stopped by SIGINT[; OUT not written]" on standard error and end the process by the
// same signal (a shell reports 128 + its number: 130, 143, 129). SIGPIPE is ignored, so that a
// closed standard output is an error of the write that the program handles (OutputClosed).
void installStopHandlers();

// Where a table's bytes come from.
class ByteSource {
public:
  virtual ~ByteSource() = default;
  // Reads up to `capacity` bytes into `buffer`; returns how many, 0 at the end of the input.
  // Throws Failure on a read error.
  virtual std::size_t read(char* buffer, std::size_t capacity) = 0;
  // The name that messages give the input: the path, or "<stdin>".
  virtual const std::string& name() const = 0;
  // The total size in bytes when it is known in advance (a regular file), else -1.
  virtual long long size() const { return -1; }
};

// A file, or standard input for the path "-". Opening fails with "PATH: cannot open: REASON".
class FileSource : public ByteSource {
public:
  explicit FileSource(const std::string& path);
  ~FileSource() override;
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;

  std::size_t read(char* buffer, std::size_t capacity) override;
  const std::string& name() const override { return m_name; }
  long long size() const override { return m_size; }

private:
  int m_fd;
  bool m_owned;
  std::string m_name;
  long long m_size;
};

// Bytes held by the caller (the built-in sample, tests); they must outlive the source.
class MemorySource : public ByteSource {
public:
  MemorySource(std::string_view bytes, std::string name);
  std::size_t read(char* buffer, std::size_t capacity) override;
  const std::string& name() const override { return m_name; }
  long long size() const override { return static_cast<long long>(m_bytes.size()); }

private:
  std::string_view m_bytes;
  std::size_t m_position;
  std::string m_name;
};

// Where the result's bytes go.
class ByteSink {
public:
  virtual ~ByteSink() = default;
  // Writes all `count` bytes; throws Failure on a write error.
  virtual void write(const char* data, std::size_t count) = 0;
};

// Standard output (not owned, not closed). A write to a closed pipe throws OutputClosed (with
// installStopHandlers() in force, which ignores SIGPIPE), any other write error Failure.
class StandardOutputSink : public ByteSink {
public:
  void write(const char* data, std::size_t count) override;
};

// Counts the bytes and drops them (the demo without -o, the benchmark).
class CountingSink : public ByteSink {
public:
  void write(const char*, std::size_t count) override { m_count += count; }
  unsigned long long count() const { return m_count; }

private:
  unsigned long long m_count = 0;
};

// The output file, written all or nothing: the bytes go to a new temporary file in the target's
// folder (".NAME.utf-post-XXXXXX"), which commit() renames onto the target. Until then the target
// is untouched; the destructor of an uncommitted file removes the temporary, and so does a stop
// signal once installStopHandlers() is in force (the program's main installs it). The committed
// file gets the usual permissions (0666 less the umask). One at a time.
class OutputFile : public ByteSink {
public:
  explicit OutputFile(const std::string& path);
  ~OutputFile() override;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(const char* data, std::size_t count) override;
  // Closes the temporary and renames it onto the target; throws Failure (and removes the
  // temporary) when that fails.
  void commit();

private:
  void discard();

  std::string m_path;
  std::string m_temporary;
  int m_fd;
};

// A buffer in front of a sink: appends are copied into a fixed block, which goes to the sink
// when full and on flush().
class BufferedWriter {
public:
  explicit BufferedWriter(ByteSink& sink, std::size_t capacity = 1 << 18);
  BufferedWriter(const BufferedWriter&) = delete;
  BufferedWriter& operator=(const BufferedWriter&) = delete;

  void append(const char* data, std::size_t count) {
    if (count > m_capacity - m_used) {
      spill(data, count);
      return;
    }
    std::char_traits<char>::copy(m_buffer.data() + m_used, data, count);
    m_used += count;
  }
  void append(std::string_view text) { append(text.data(), text.size()); }
  void put(char c) {
    if (m_used == m_capacity) {
      flush();
    }
    m_buffer[m_used++] = c;
  }
  void flush();

private:
  // The slow path of append: flushes, then writes a block larger than the buffer directly.
  void spill(const char* data, std::size_t count);

  ByteSink& m_sink;
  std::size_t m_capacity;
  std::string m_buffer;
  std::size_t m_used;
};

} // namespace utf_post

#endif
