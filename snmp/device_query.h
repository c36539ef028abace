// What the program asks a single device over SNMP: its name, vendor, model and hardware address.
//
// Each function sends one GET with the community "public" to `address` (IPv4 address or host name)
// and waits up to 3 seconds for the answer. The result is that of snmp_get; on any but 0 the
// caller's buffer keeps its contents. The functions keep no state and may be called from any
// thread; the wait is a cancellation point (pthread_cancel). Nothing throws when memory is short.
#pragma once

// The objects asked for. The maker's stand below its own enterprise number.
constexpr char kSysNameObject[] = "1.3.6.1.2.1.1.5.0";
constexpr char kVendorObject[] = "1.3.6.1.4.1.731.1.2.1.1.0";
constexpr char kModelObject[] = "1.3.6.1.4.1.731.1.2.1.2.0";
constexpr char kIfPhysAddress1Object[] = "1.3.6.1.2.1.2.2.1.6.1";

// Room for a hardware address as text.
constexpr int kMacTextSize = sizeof("00:00:00:00:00:00");

// Asks for the variable `oid` (dotted-decimal text) and stores its value as text, without the
// trailing bytes that are not visible ASCII characters. A value of exactly `length` bytes is
// accepted and terminated at buffer[length]: the buffer must have `length` + 1 bytes.
int net_get_string(const char* address, const char* oid, char* buffer, int length);

// The system name, sysName.0 (RFC 1213). Buffer as for net_get_string.
int net_get_name(const char* address, char* buffer, int length);

// The maker's name, for instance "Veltrana". Buffer as for net_get_string.
int net_get_vendor(const char* address, char* buffer, int length);

// The model with its suffixes, for instance "T55_E". Buffer as for net_get_string.
int net_get_model(const char* address, char* buffer, int length);

// The hardware address of the first interface, ifPhysAddress.1 (RFC 1213), as six lower-case hex
// pairs with colons: 17 characters and a terminating zero. Bytes missing from the answer read 00,
// further ones are left out.
int net_get_mac(const char* address, char* buffer);

// Writes the first six bytes of a hardware address in that form; `text` has kMacTextSize bytes.
void net_mac_text(const unsigned char* mac, char* text);
