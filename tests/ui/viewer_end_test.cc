// Tests of a browser that ends while the program waits for scanners, on a kernel that gives no
// descriptors of processes.
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <string>

#include "devreg/client_registration.h"
#include "tests/support/fake_network.h"
#include "tests/ui/ui_fixture.h"
#include "ui/survey/device_survey.h"

using fake_network::Bytes;
using fake_network::Hex;
using fake_network::Host;
using fake_network::Office;
using fake_network::Received;
using fake_network::Stopwatch;

// The linker sends the calls of these here, see CMakeLists.txt.
extern "C" {
int __real_access(const char* path, int mode);
int __wrap_access(const char* path, int mode);
int __wrap_execl(const char* path, const char* arg, ...);
}

namespace {

constexpr char kViewer[] = "/usr/bin/xdg-open";
constexpr useconds_t kViewerMicroseconds = 500000;

}  // namespace

int __wrap_access(const char* path, int mode) {
  return strcmp(path, kViewer) == 0 ? 0 : __real_access(path, mode);
}

int __wrap_execl(const char* /*path*/, const char* /*arg*/, ...) {
  usleep(kViewerMicroseconds);
  _exit(0);
}

namespace {

using ui_test::App;
using ui_test::Click;
using ui_test::MainTabs;
using ui_test::MainWin;
using ui_test::TabNetwork;

constexpr char kScanner[] = "10.77.0.64";

// As a sandbox does, and kernels before 5.3, for this thread and those that it will start.
void RefuseDescriptorsOfProcesses() {
  sock_filter code[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pidfd_open, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program{sizeof(code) / sizeof(code[0]), code};
  ASSERT_EQ(0, prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0)) << strerror(errno);
  ASSERT_EQ(0, prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program)) << strerror(errno);
}

// A window that lists one scanner, with the browser opened on its page.
class ViewerEndTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { RefuseDescriptorsOfProcesses(); }

  void SetUp() override {
    ASSERT_TRUE(g_file_test("/tmp/.lab", G_FILE_TEST_EXISTS)) << "run this test with script/lab";
    ASSERT_EQ(-1, syscall(SYS_pidfd_open, getpid(), 0));
    CMainWin* window = m_App.MakeWindow();
    window->OnCreate();
    auto& network = static_cast<CTabNetwork&>(*((*(window->*MainWin::Tabs)).*MainTabs::Tabs)[1]);
    auto* machine = static_cast<MACHINEINFO*>(calloc(1, sizeof(MACHINEINFO)));
    strcpy(machine->szIPAddress, kScanner);
    network.*TabNetwork::Machines = machine;
    network.*TabNetwork::Count = 1;
    network.SetMachineList();
    (*(network.*TabNetwork::DeviceList)).SetCurSel(0);
    Click(*(network.*TabNetwork::Configure));
  }
  void TearDown() override {
    EXPECT_TRUE(gtk_test::PumpUntil([] { return !HasChild(); })) << "it is not collected";
    xApp::m_Instance = nullptr;
  }

  static bool HasChild() {
    siginfo_t info;
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
  }

  App m_App;
};

TEST_F(ViewerEndTest, DoesNotCutARegistrationShort) {
  Host scanner(Office(kScanner, 3892), [](Host& host, const Received& request) {
    usleep(3 * kViewerMicroseconds);
    Bytes reply = Hex("4D 46 50 50 30 32 30 30 4D 4C 30 31 00 00 31 C4 00 00 00 00");
    reply[12] = request.bytes[12];
    reply[13] = request.bytes[13];
    host.Reply(request, reply);
  });
  sockaddr_in device = fake_network::SocketAddress(kScanner, 0);
  const Stopwatch watch;
  EXPECT_EQ(0, cmd_register(&device, "desk"));
  EXPECT_GE(watch.Seconds(), 1.4);
  EXPECT_EQ(1U, scanner.Log().size());
}

TEST_F(ViewerEndTest, DoesNotCutASurveyShort) {
  int count = 0;
  const Stopwatch watch;
  EXPECT_EQ(nullptr, searchMachine(&count, nullptr));
  EXPECT_GE(watch.Seconds(), 0.99);
}

TEST_F(ViewerEndTest, IsNotHandledAsASignal) {
  struct sigaction action {};
  ASSERT_EQ(0, sigaction(SIGCHLD, nullptr, &action));
  EXPECT_EQ(SIG_DFL, action.sa_handler);
}

}  // namespace
