// The single questions that the program asks a device over SNMP.
#include "snmp/device_query.h"
