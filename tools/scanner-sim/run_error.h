// What stops a simulation: an address that is not there, a full disk.
#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

class RunError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;

  // "what: " and the text of the last system error.
  static RunError Last(const std::string& what) {
    return RunError(what + ": " + std::strerror(errno));
  }
};
