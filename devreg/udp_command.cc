// The command channel to a scanner: packets, retries and replies.
#include "devreg/udp_command.h"
