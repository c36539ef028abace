// The commands: each does its work, writes its results and returns the exit status.
#pragma once

#include "dvx-probe/options.h"

constexpr int kAllWell = 0;
constexpr int kSomethingWrong = 1;
constexpr int kWrongUsage = 2;

int list_command(const Options& options, const Network& network);
int register_command(const Options& options, const Network& network);
int explain_command(const Options& options, const Network& network);
