// The list of scanners as a table, as JSON and as CSV.
#pragma once

#include <string>
#include <vector>

#include "dvx-probe/survey.h"

enum class Format { kTable, kJson, kCsv };

// The listed ones of these devices. JSON also tells of the others, and why they are left out.
std::string list_text(const std::vector<Device>& devices, Format format);

// Why a device is not listed: "it does not answer when asked for its model". Empty when it is.
std::string why_left_out(const Device& device);

// What came in place of a text: "does not answer".
std::string reply_text(const Reply& reply);
