#ifndef UTF_POST_FAILURE_H
#define UTF_POST_FAILURE_H

// The one error type of utf-post: a failure that ends the run. Its text is the whole one-line
// message without the program's name ("input.csv:17: column \"S12\": expected a number, found
// \"abc\""); the command line prints it after "utf-post: " and exits with status 2.

#include <csignal>
#include <stdexcept>
#include <string>

namespace utf_post {

class Failure : public std::runtime_error {
public:
  explicit Failure(const std::string& message) : std::runtime_error(message) {}
};

// The exit status of every failure: bad input, bad options, unreadable or unwritable files.
constexpr int failureExitStatus = 2;

// Standard output was closed by its reader (`utf-post ... | head -n 1`): the reader has all it
// wants, so this is not reported as a failure. The run stops quietly, without a message, with
// the status that a shell reports for a program ended by SIGPIPE (141), as the usual tools end.
class OutputClosed : public std::runtime_error {
public:
  OutputClosed() : std::runtime_error("standard output closed by its reader") {}
};

constexpr int outputClosedExitStatus = 128 + SIGPIPE;

} // namespace utf_post

#endif
