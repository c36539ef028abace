// What the survey asks, and what it makes of the answers.
#include "ui/survey/interview.h"

#include <cstring>

#include "base/copy_text.h"
#include "snmp/device_query.h"

namespace {

// Has a successor on the maker's devices only.
constexpr char kDiscoveryOid[] = "1.3.6.1.4.1.731.405.1.1.1.3";
constexpr char kCommunity[] = "public";

// Appends a text to another, cut to what that has room for.
void Append(char* text, const char* added) {
  const size_t length = strnlen(text, kTextCapacity - 1);
  const size_t taken = strnlen(added, kTextCapacity - 1 - length);
  memcpy(text + length, added, taken);
  text[length + taken] = '\0';
}

}  // namespace

void FillDiscoveryRequest(snmp_simple_pdu* request) {
  request->pdu_type = kPduGetNext;
  memcpy(request->community, kCommunity, sizeof(kCommunity));
  memcpy(request->variables[0].name, kDiscoveryOid, sizeof(kDiscoveryOid));
}

const char* DeviceInterview::Object(int question) {
  static const char* const objects[kDeviceQuestions] = {kModelObject, kVendorObject,
                                                        kSysNameObject};
  return objects[question];
}

void DeviceInterview::TakeValue(const void* value, size_t length) {
  if (length > kTextCapacity) return TakeFailure();
  if (length > 0) memcpy(Buffer(), value, length);
  snmp2c_str(Buffer(), static_cast<int>(length));
  TakeText();
}

void DeviceInterview::RemoveModelSuffixes() {
  char* model = m_szTexts[kAskModel];
  while (char* mark = strchr(model, '_')) {
    if (mark[1] != '\0') {
      memmove(mark, mark + 2, strlen(mark + 2) + 1);
    } else if (mark > model) {
      mark[-1] = '\0';
    } else {
      mark[0] = '\0';
    }
  }
}

void DeviceInterview::JoinVendorAndModel() {
  Append(m_szTexts[kAskVendor], " ");
  Append(m_szTexts[kAskVendor], m_szTexts[kAskModel]);
}

void DeviceInterview::FillRow(const char* address, MACHINEINFO* row) const {
  // The vendor's text holds the vendor and the model by now.
  copy_text(row->szModelName, m_szTexts[kAskVendor]);
  copy_text(row->szMachineName, m_szTexts[kAskName]);
  copy_text(row->szIPAddress, address);
}
