// The survey and the registration as seen by the windows, without a network.
#include "tests/support/fake_scanners.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "devreg/client_registration.h"
#include "ui/survey/device_survey.h"

namespace {

std::mutex guard;  // for the devices and the thread; a survey may run on the search worker
std::vector<fake_scanners::Device> found;
pthread_t last_thread;
std::atomic<bool> hold{false};
std::atomic<int> begun{0};
std::atomic<int> cancelled{0};
std::atomic<bool> saw_progress_bar{false};
std::vector<std::string> commands;

// Readable while surveys may go on.
int Gate() {
  static const int gate = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  return gate;
}

// A cancellation point. Cancelling leaves no room on the stack marked as in use, as the address
// sanitizer would have it for a local pollfd.
void WaitForRelease() {
  static pollfd gate;
  gate = {Gate(), POLLIN, 0};
  pthread_cleanup_push([](void*) { ++cancelled; }, nullptr);
  while (poll(&gate, 1, -1) != 1) {
  }
  pthread_cleanup_pop(0);
}

MACHINEINFO* MakeArray(const std::vector<fake_scanners::Device>& devices) {
  if (devices.empty()) return nullptr;
  auto* array = static_cast<MACHINEINFO*>(calloc(devices.size(), sizeof(MACHINEINFO)));
  for (size_t i = 0; i < devices.size(); ++i) {
    strncpy(array[i].szModelName, devices[i][0].c_str(), sizeof(array[i].szModelName) - 1);
    strncpy(array[i].szMachineName, devices[i][1].c_str(), sizeof(array[i].szMachineName) - 1);
    strncpy(array[i].szIPAddress, devices[i][2].c_str(), sizeof(array[i].szIPAddress) - 1);
  }
  return array;
}

}  // namespace

namespace fake_scanners {

void Reset() {
  SetDevices({});
  hold = false;
  begun = 0;
  cancelled = 0;
  saw_progress_bar = false;
  commands.clear();
  uint64_t drained = 0;
  if (read(Gate(), &drained, sizeof(drained)) < 0) drained = 0;
}

void SetDevices(const std::vector<Device>& devices) {
  const std::lock_guard<std::mutex> lock(guard);
  found = devices;
}

void HoldSurveys() { hold = true; }

void Release() {
  const uint64_t one = 1;
  if (write(Gate(), &one, sizeof(one)) != sizeof(one)) abort();
}

int SurveysBegun() { return begun; }

int SurveysCancelled() { return cancelled; }

bool SawProgressBar() { return saw_progress_bar; }

bool LastSurveyRanHere() {
  const std::lock_guard<std::mutex> lock(guard);
  return pthread_equal(last_thread, pthread_self()) != 0;
}

std::vector<std::string> TakeCommands() {
  std::vector<std::string> taken;
  taken.swap(commands);
  return taken;
}

}  // namespace fake_scanners

MACHINEINFO* searchMachine(int* count, GtkProgressBar* progress) {
  {
    const std::lock_guard<std::mutex> lock(guard);
    last_thread = pthread_self();
  }
  if (progress != nullptr) saw_progress_bar = true;
  ++begun;
  if (hold) WaitForRelease();
  const std::lock_guard<std::mutex> lock(guard);
  *count = static_cast<int>(found.size());
  return MakeArray(found);
}

void registerOneNetDevice(const char* ip, const char* hostName) {
  commands.push_back(std::string("register ") + ip + " " + hostName);
}

int unregisterOnDevice(const char* ip, const char* hostName) {
  commands.push_back(std::string("unregister ") + ip + " " + hostName);
  return 0;
}
