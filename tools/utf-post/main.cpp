// utf-post: engineering values from results tables (see cli.cpp, or utf-post --help).

#include "cli.h"
#include "io.h"

int main(int argc, char** argv) {
  // The signal dispositions are the program's own: set here, not in runCommandLine, so that a
  // process that runs the command line in itself (a fuzzer, a test) keeps its own.
  utf_post::installStopHandlers();
  return utf_post::runCommandLine(argc, argv);
}
