// utf-post: engineering values from results tables (see cli.cpp, or utf-post --help).

#include "cli.h"

int main(int argc, char** argv) {
  return utf_post::runCommandLine(argc, argv);
}
