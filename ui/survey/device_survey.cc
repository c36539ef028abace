// The device survey: one broadcast, then three questions to every device that answers.
#include "ui/survey/device_survey.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "app/log/debug_log.h"
#include "base/copy_text.h"
#include "base/malloc_ptr.h"
#include "snmp/device_query.h"
#include "snmp/request.h"
#include "ui/survey/survey_rules.h"

// The survey's lines carry its own name, whichever of its steps writes them.
#define SURVEY_HERE "searchMachine", __LINE__

namespace {

// Has a successor on the maker's devices only.
constexpr char kDiscoveryOid[] = "1.3.6.1.4.1.731.405.1.1.1.3";
constexpr char kCommunity[] = "public";

// What one device said.
struct Device {
  char szIP[INET_ADDRSTRLEN];
  char szModel[kTextSize];
  char szVendor[kTextSize];
  char szName[kTextSize];
};

// The records found so far.
class MachineList {
 public:
  // The array has exactly the records found. Growing it where it stands, as realloc mostly can,
  // keeps the time for many devices from growing with their square.
  void Append(const Device& device) {
    const size_t size = sizeof(MACHINEINFO) * (static_cast<size_t>(m_iNumMachine) + 1);
    auto* grown = static_cast<MACHINEINFO*>(realloc(m_Machines.get(), size));
    if (grown == nullptr) return;
    static_cast<void>(m_Machines.release());
    m_Machines.reset(grown);
    MACHINEINFO& machine = grown[m_iNumMachine++];
    // szVendor holds the vendor and the model by now.
    copy_text(machine.szModelName, device.szVendor);
    copy_text(machine.szMachineName, device.szName);
    copy_text(machine.szIPAddress, device.szIP);
  }

  int Count() const { return m_iNumMachine; }
  MACHINEINFO* Release() { return m_Machines.release(); }

 private:
  MallocPtr<MACHINEINFO> m_Machines;
  int m_iNumMachine = 0;
};

bool AskDevice(Device* device) {
  return net_get_model(device->szIP, device->szModel, kTextCapacity) == 0 &&
         net_get_vendor(device->szIP, device->szVendor, kTextCapacity) == 0 &&
         net_get_name(device->szIP, device->szName, kTextCapacity) == 0;
}

void LogTexts(const Device& device) {
  myDbgFunc(DBG_PREFIX "szIP = %s, szModel = %s, szVendor = %s, szName = %s\n", SURVEY_HERE,
            device.szIP, device.szModel, device.szVendor, device.szName);
}

// Appends a text to the vendor's, cut to what it has room for.
void AppendToVendor(char* vendor, const char* text) {
  const size_t length = strnlen(vendor, kTextCapacity - 1);
  const size_t added = strnlen(text, kTextCapacity - 1 - length);
  memcpy(vendor + length, text, added);
  vendor[length + added] = '\0';
}

void LogRecord(const Device& device, int count) {
  myDbgFunc(DBG_PREFIX "searchMachine szModel=(%s)\n", SURVEY_HERE, device.szModel);
  myDbgFunc(DBG_PREFIX "searchMachine szName=(%s)\n", SURVEY_HERE, device.szName);
  myDbgFunc(DBG_PREFIX "searchMachine szVendor=(%s)\n", SURVEY_HERE, device.szVendor);
  myDbgFunc(DBG_PREFIX "searchMachine m_iNumMachine=(%d)\n", SURVEY_HERE, count);
  myDbgFunc(DBG_PREFIX "searchMachine ip=(%s)\n", SURVEY_HERE, device.szIP);
}

void SurveyDevice(uint64_t source_address, MachineList* machines) {
  Device device{};
  const in_addr address{static_cast<in_addr_t>(source_address)};
  inet_ntop(AF_INET, &address, device.szIP, sizeof(device.szIP));
  if (!AskDevice(&device)) return;
  LogTexts(device);
  RemoveSuffixes(device.szModel);
  myDbgFunc(DBG_PREFIX "Delete Suffix from Model Name.\n", SURVEY_HERE);
  LogTexts(device);
  JoinVendorAndModel(device.szVendor, device.szModel);
  machines->Append(device);
  LogRecord(device, machines->Count());
}

}  // namespace

void FillDiscoveryRequest(snmp_simple_pdu* request) {
  request->pdu_type = kPduGetNext;
  memcpy(request->community, kCommunity, sizeof(kCommunity));
  memcpy(request->variables[0].name, kDiscoveryOid, sizeof(kDiscoveryOid));
}

void RemoveSuffixes(char* model) {
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

void JoinVendorAndModel(char* vendor, const char* model) {
  AppendToVendor(vendor, " ");
  AppendToVendor(vendor, model);
}

MACHINEINFO* searchMachine(int* count, GtkProgressBar* /*progress*/) {
  const SnmpSimplePduPtr request(get_simple_pdu_memory(1, 1), {1});
  const SnmpSimplePduPtr answers(get_simple_pdu_memory(kMaxAnswers, 1), {kMaxAnswers});
  if (request == nullptr || answers == nullptr) {
    DebugPrintf("searchMachine memory alloc failed!\n");
    myDbgFunc(DBG_PREFIX "searchMachine memory alloc failed!\n", DBG_HERE);
    return nullptr;
  }
  FillDiscoveryRequest(request.get());
  MachineList machines;
  int num = 0;
  if (multi_snmp_request_simple("255.255.255.255", kGatheringSeconds, request.get(), answers.get(),
                                kMaxAnswers, &num) != 0) {
    myDbgFunc(DBG_PREFIX "searchMachine do not find net scaner!\n", DBG_HERE);
  } else {
    myDbgFunc(DBG_PREFIX "searchMachine num=(%d)\n", DBG_HERE, num);
    // More answers than the array holds are counted, but not stored.
    for (int i = 0; i < num && i < kMaxAnswers; ++i) {
      SurveyDevice(answers.get()[i].source_address, &machines);
    }
  }
  myDbgFunc(DBG_PREFIX "searchMachine m_iNumMachine=(%d)\n", DBG_HERE, machines.Count());
  *count = machines.Count();
  return machines.Release();
}
