// A network that answers at once and costs nothing, to measure what is left of an exchange.
//
// Programs that are linked with it send no datagrams: every socket gives the same answer, and
// rand() the same number, so that requests are alike from run to run.
#pragma once

#include "bench/messages.h"

// The datagram that whoever sends one receives.
void SetFakeAnswer(const Bytes& answer);
