// Owner of a block that GLib allocated.
#pragma once

#include <glib.h>

#include <memory>

struct GlibFree {
  void operator()(void* block) const { g_free(block); }
};

template <typename T>
using GlibPtr = std::unique_ptr<T, GlibFree>;
