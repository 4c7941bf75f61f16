#include "utf_Print.h"

cow_String utf_indentation(int indent) {
  cow_String blanks;
  for (int i = 0; i < indent; ++i) {
    blanks.Append(" ");
  }
  return blanks;
}
