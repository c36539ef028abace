// Driving a conversation of the command channel over the network.
#pragma once

#include "devreg/conversation.h"

// Leads the conversation with the scanner at `address` (dotted-decimal text or a host name) to its
// end. Blocks for up to kReplySeconds for each attempt.
void converse(const char* address, CommandConversation* command);
