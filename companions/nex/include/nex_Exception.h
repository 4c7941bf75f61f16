#ifndef NEX_EXCEPTION_H
#define NEX_EXCEPTION_H

// nex_Exception: the base of the system's exceptions.
//
// An exception is built first and raised with Throw(file, line), which records where it was
// raised and then throws the most-derived object (through the virtual Propagate()), so that a
// handler for the derived type catches it. Every nex_Exception is a std::exception; what() gives
// the text of AsString().

#include "KPTnex.h"
#include "atr_String.h"
#include "cls_Uid.h"

#include <exception>

class KPTNEX_EXPORT nex_Exception : public std::exception {
public:
  nex_Exception() noexcept;
  nex_Exception(const nex_Exception& other) noexcept;
  nex_Exception& operator=(const nex_Exception& other) noexcept;
  ~nex_Exception() override;

  // Records `file` (a text that lives for the whole program, such as a literal) and `line`, then
  // raises the most-derived exception. It never returns.
  [[noreturn]] void Throw(const char* file, int line);

  // Where Throw was called: null and 0 before that.
  const char* File() const noexcept { return m_file; }
  int Line() const noexcept { return m_line; }

  // The full text: the developer report.
  virtual atr_String AsString() const;
  // A new copy of the most-derived exception, allocated with new; the caller deletes it.
  virtual nex_Exception* Copy() const;
  // One sentence for an end user.
  virtual atr_String UserReport() const;
  // "file:line: " followed by the user report ("(unknown):0: " before Throw).
  virtual atr_String DeveloperReport() const;
  // The identity of the most-derived class.
  virtual cls_Uid DynTypeId() const;
  static cls_Uid TypeId() noexcept;

  // The text of AsString(), built on the first call and kept with the exception (so one exception
  // object must not be asked from two threads at once for the first time).
  const char* what() const noexcept override;

protected:
  // Throws *this as its most-derived type; every derived class overrides it.
  [[noreturn]] virtual void Propagate() const;

private:
  const char* m_file;
  mutable atr_String m_what; // the text of what(), built on first use
  int m_line;
};

#endif
