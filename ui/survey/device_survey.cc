// The device survey: one broadcast, then three questions to every device that answers.
#include "ui/survey/device_survey.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstdint>
#include <cstdlib>

#include "app/log/debug_log.h"
#include "base/malloc_ptr.h"
#include "snmp/device_query.h"
#include "snmp/request.h"
#include "ui/survey/interview.h"

// The survey's lines carry its own name, whichever of its steps writes them.
#define SURVEY_HERE "searchMachine", __LINE__

namespace {

// The records found so far.
class MachineList {
 public:
  // The array has exactly the records found. Growing it where it stands, as realloc mostly can,
  // keeps the time for many devices from growing with their square.
  void Append(const char* address, const DeviceInterview& device) {
    const size_t size = sizeof(MACHINEINFO) * (static_cast<size_t>(m_iNumMachine) + 1);
    auto* grown = static_cast<MACHINEINFO*>(realloc(m_Machines.get(), size));
    if (grown == nullptr) return;
    static_cast<void>(m_Machines.release());
    m_Machines.reset(grown);
    device.FillRow(address, &grown[m_iNumMachine++]);
  }

  int Count() const { return m_iNumMachine; }
  MACHINEINFO* Release() { return m_Machines.release(); }

 private:
  MallocPtr<MACHINEINFO> m_Machines;
  int m_iNumMachine = 0;
};

void Ask(const char* address, DeviceInterview* device) {
  while (device->Next() != kDeviceQuestions) {
    const char* object = DeviceInterview::Object(device->Next());
    if (net_get_string(address, object, device->Buffer(), kTextCapacity) == 0) {
      device->TakeText();
    } else {
      device->TakeFailure();
    }
  }
}

void LogTexts(const char* address, const DeviceInterview& device) {
  myDbgFunc(DBG_PREFIX "szIP = %s, szModel = %s, szVendor = %s, szName = %s\n", SURVEY_HERE,
            address, device.Text(kAskModel), device.Text(kAskVendor), device.Text(kAskName));
}

void LogRecord(const char* address, const DeviceInterview& device, int count) {
  myDbgFunc(DBG_PREFIX "searchMachine szModel=(%s)\n", SURVEY_HERE, device.Text(kAskModel));
  myDbgFunc(DBG_PREFIX "searchMachine szName=(%s)\n", SURVEY_HERE, device.Text(kAskName));
  myDbgFunc(DBG_PREFIX "searchMachine szVendor=(%s)\n", SURVEY_HERE, device.Text(kAskVendor));
  myDbgFunc(DBG_PREFIX "searchMachine m_iNumMachine=(%d)\n", SURVEY_HERE, count);
  myDbgFunc(DBG_PREFIX "searchMachine ip=(%s)\n", SURVEY_HERE, address);
}

void SurveyDevice(uint64_t source_address, MachineList* machines) {
  char ip[INET_ADDRSTRLEN];
  const in_addr address{static_cast<in_addr_t>(source_address)};
  inet_ntop(AF_INET, &address, ip, sizeof(ip));
  DeviceInterview device;
  Ask(ip, &device);
  if (!device.IsListed()) return;
  LogTexts(ip, device);
  device.RemoveModelSuffixes();
  myDbgFunc(DBG_PREFIX "Delete Suffix from Model Name.\n", SURVEY_HERE);
  LogTexts(ip, device);
  device.JoinVendorAndModel();
  machines->Append(ip, device);
  LogRecord(ip, device, machines->Count());
}

}  // namespace

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
