#ifndef UTF_POST_PROGRESS_H
#define UTF_POST_PROGRESS_H

// The progress display of utf-post: one line on standard error, redrawn in place, while a large
// table is processed. It is drawn only when it may be (standard error is a terminal) and only
// once the table has passed 100,000 rows, so short runs and redirected runs stay silent.

#include <chrono>
#include <string>

namespace utf_post {

// The rows a table must pass before the display appears.
constexpr long long progressThreshold = 100000;

// One line of the display: rows done and the rate, and, when the input's size is known (a
// regular file), the share of it read and the time left at the rate so far:
//   "utf-post: 1,250,000 rows  845,000 rows/s  42%  0:03 left"
std::string progressLine(long long rows, double seconds, long long bytes, long long size);

class ProgressDisplay {
public:
  // Draws on the descriptor `fd` when `enabled`.
  ProgressDisplay(int fd, bool enabled);
  // The state of the run (see Diagnostics::progress). Redraws at most four times a second; at
  // the end, a display that was drawn is completed with a final line and a line end.
  void update(long long rows, long long bytes, long long size, bool done);

private:
  int m_fd;
  bool m_enabled;
  bool m_drawn;
  std::chrono::steady_clock::time_point m_start;
  std::chrono::steady_clock::time_point m_lastDraw;
};

} // namespace utf_post

#endif
