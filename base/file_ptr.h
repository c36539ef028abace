// Owner of an open stream of the C library.
#pragma once

#include <cstdio>
#include <memory>

struct CloseFile {
  void operator()(FILE* file) const { fclose(file); }
};

using FilePtr = std::unique_ptr<FILE, CloseFile>;
