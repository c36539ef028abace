// SNMP requests to one device and to all devices of the network.
#include "snmp/request.h"
