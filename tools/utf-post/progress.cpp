#include "progress.h"

#include "text.h"

#include <cstdio>
#include <unistd.h>

namespace utf_post {

namespace {

std::string duration(double seconds) {
  const long long total = static_cast<long long>(seconds + 0.5);
  char text[32];
  if (total >= 3600) {
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", total / 3600, total / 60 % 60,
                  total % 60);
  } else {
    std::snprintf(text, sizeof text, "%lld:%02lld", total / 60, total % 60);
  }
  return text;
}

} // namespace

std::string progressLine(long long rows, double seconds, long long bytes, long long size) {
  std::string line = "utf-post: " + withThousands(rows) + " rows";
  if (seconds > 0.0) {
    line += "  " + withThousands(static_cast<long long>(rows / seconds)) + " rows/s";
  }
  if (size > 0 && bytes > 0 && seconds > 0.0) {
    const double share = static_cast<double>(bytes) / static_cast<double>(size);
    line += "  " + std::to_string(static_cast<int>(share * 100.0)) + "%";
    const double left = seconds * (1.0 - share) / share;
    line += "  " + duration(left > 0.0 ? left : 0.0) + " left";
  }
  return line;
}

ProgressDisplay::ProgressDisplay(int fd, bool enabled)
    : m_fd(fd), m_enabled(enabled), m_drawn(false), m_start(std::chrono::steady_clock::now()),
      m_lastDraw(m_start) {}

void ProgressDisplay::update(long long rows, long long bytes, long long size, bool done) {
  if (!m_enabled || (!m_drawn && (done || rows <= progressThreshold))) {
    return;
  }
  const auto now = std::chrono::steady_clock::now();
  if (!done && m_drawn && now - m_lastDraw < std::chrono::milliseconds(250)) {
    return;
  }
  m_lastDraw = now;
  m_drawn = true;
  const double seconds = std::chrono::duration<double>(now - m_start).count();
  // Back to the start of the line, the new text, then clear what an older, longer text left.
  std::string text = "\r" + progressLine(rows, seconds, bytes, size) + "\x1b[K";
  if (done) {
    text += "\n";
  }
  // The display is a courtesy: a failed write of it is not an error of the run.
  if (::write(m_fd, text.data(), text.size()) < 0) {
    m_enabled = false;
  }
}

} // namespace utf_post
