// The device survey: finds the scanners on the local network.
#pragma once

// As in GTK, whose headers this file does without.
typedef struct _GtkProgressBar GtkProgressBar;

// One scanner; all texts are zero-terminated.
struct MACHINEINFO {
  char szModelName[256];    // vendor, a blank, model without suffixes: "Veltrana T55"
  char szMachineName[256];  // SNMP system name
  char szIPAddress[32];     // IPv4 address, dotted decimal
};

// Broadcasts one SNMP request that only the maker's devices answer, then asks each of the first 256
// answering devices for its model, vendor and name. Devices that give all three are returned in the
// order in which they answered; one that answers the broadcast twice is listed twice.
//
// Returns an array allocated with malloc that the caller releases with free, or null when there is
// no device. *count is set to the number of records, but left alone when memory is short at the
// start. `progress` is not used and may be null.
//
// Blocks for at least a second, and up to 3 more for a device that falls silent. It uses no GTK and
// may run on any thread. All its waits are cancellation points (pthread_cancel): a cancelled
// survey releases everything, and nothing is returned.
MACHINEINFO* searchMachine(int* count, GtkProgressBar* progress);
