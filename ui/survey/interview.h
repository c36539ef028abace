// What the device survey asks the network, and how the row of a device comes from its answers.
//
// Shared with the command-line probe, so that both list the same devices under the same names. The
// functions keep no state and may be called from any thread.
#pragma once

#include "snmp/simple_pdu.h"

// The answers have ended when none came for so many seconds.
constexpr unsigned int kGatheringSeconds = 1;

// So many of the answers are considered.
constexpr int kMaxAnswers = 256;

// The most bytes of a device's text that are taken. A text that fills them has its zero behind
// them, so a buffer has one byte more.
constexpr int kTextCapacity = 256;
constexpr int kTextSize = kTextCapacity + 1;

// Makes the question that goes to everybody: GET-NEXT of an object that has a successor on the
// maker's devices only. `request` is a zeroed record with one slot.
void FillDiscoveryRequest(snmp_simple_pdu* request);

// Removes every underscore together with the byte behind it: T55_E becomes T55. An underscore at
// the end takes the byte before it along: ABC_ becomes AB.
void RemoveSuffixes(char* model);

// Turns the vendor's text into the name that is shown, vendor, blank, model, cut to 255 bytes.
// `vendor` has kTextSize bytes.
void JoinVendorAndModel(char* vendor, const char* model);
