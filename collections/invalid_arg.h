// How the collections report a bad argument.
#pragma once

// Throws the text "Invalid Arg!" as a const char* when the condition does not hold. Nothing in the
// program catches it: a caller that breaks a collection's contract ends the program.
inline void RequireArg(bool bHolds) {
  if (!bHolds) throw "Invalid Arg!";
}
