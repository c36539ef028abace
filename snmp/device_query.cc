// The single questions that the program asks a device over SNMP.
#include "snmp/device_query.h"

#include <cstdio>
#include <cstring>

#include "base/copy_text.h"
#include "snmp/request.h"
#include "snmp/simple_pdu.h"

namespace {

constexpr int kMacValueSize = 256;

// GET with the default community. On success *length is the number of bytes received.
int GetValue(const char* address, const char* oid, unsigned char* value, int* length) {
  snmp_get_param param{};
  copy_text(param.name, oid);
  param.value_length = *length;
  param.value = value;
  const int result = snmp_get(address, nullptr, &param);
  *length = param.value_length;
  return result;
}

}  // namespace

int net_get_string(const char* address, const char* oid, char* buffer, int length) {
  int received = length;
  const int result = GetValue(address, oid, reinterpret_cast<unsigned char*>(buffer), &received);
  if (result == 0) snmp2c_str(buffer, received);
  return result;
}

int net_get_name(const char* address, char* buffer, int length) {
  return net_get_string(address, kSysNameObject, buffer, length);
}

int net_get_vendor(const char* address, char* buffer, int length) {
  return net_get_string(address, kVendorObject, buffer, length);
}

int net_get_model(const char* address, char* buffer, int length) {
  return net_get_string(address, kModelObject, buffer, length);
}

int net_get_mac(const char* address, char* buffer) {
  unsigned char mac[kMacValueSize] = {};
  int received = kMacValueSize;
  const int result = GetValue(address, kIfPhysAddress1Object, mac, &received);
  if (result == 0) net_mac_text(mac, buffer);
  return result;
}

void net_mac_text(const unsigned char* mac, char* text) {
  snprintf(text, kMacTextSize, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
           mac[4], mac[5]);
}
