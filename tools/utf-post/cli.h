#ifndef UTF_POST_CLI_H
#define UTF_POST_CLI_H

// The command line of utf-post: parses the arguments (CLI11), runs the table, the demo or the
// sample, and turns every failure into one line on standard error and exit status 2.

namespace utf_post {

// The whole program: returns its exit status (0 done, 2 failed).
int runCommandLine(int argc, char** argv);

} // namespace utf_post

#endif
