// UDP/IPv4 exchanges with time-outs in whole seconds.
#include "snmp/transport.h"
