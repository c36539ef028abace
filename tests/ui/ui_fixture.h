// What tests of the windows share: a fresh home, an application object, the main window, and looks
// into it. These programs run in the lab only.
#pragma once

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "app/frame/app_frame.h"
#include "tests/support/fake_scanners.h"
#include "tests/support/gtk_test.h"
#include "ui/dlg_search.h"
#include "ui/main_tabs.h"
#include "ui/main_win.h"
#include "ui/tab_general.h"
#include "ui/tab_network.h"

namespace ui_test {

namespace fs = std::filesystem;

constexpr char kLanguageFolder[] = "/usr/local/share/veltrana/scanner/data";

// The fields of the windows, for instance window.*MainWin::Tabs.
struct MainWin : CMainWin {
  static constexpr auto OK = &MainWin::m_pBtnOK;
  static constexpr auto Cancel = &MainWin::m_pBtnCancel;
  static constexpr auto Apply = &MainWin::m_pBtnApply;
  static constexpr auto Tabs = &MainWin::m_pTabs;
  static constexpr auto Language = &MainWin::m_RctFile;
  static constexpr auto FirstLanguage = &MainWin::m_RctFileFirst;
  static constexpr auto Lock = &MainWin::m_iLock;
  static constexpr auto Modified = &MainWin::m_iModified;
};

struct MainTabs : CMainTabs {
  static constexpr auto Tabs = &MainTabs::m_pTabs;
  static constexpr auto Scanpath = &MainTabs::m_szScanpath;
  static constexpr auto Ocrpath = &MainTabs::m_szOcrpath;
  static constexpr auto Hostname = &MainTabs::m_szHostname;
};

struct TabGeneral : CTabGeneral {
  static constexpr auto ScanFrame = &TabGeneral::m_pScanFrame;
  static constexpr auto ScanLabel = &TabGeneral::m_pScanLabel;
  static constexpr auto ScanBrowse = &TabGeneral::m_pScanBrowse;
  static constexpr auto ScanEntry = &TabGeneral::m_pScanEntry;
  static constexpr auto OcrFrame = &TabGeneral::m_pOcrFrame;
  static constexpr auto OcrLabel = &TabGeneral::m_pOcrLabel;
  static constexpr auto OcrBrowse = &TabGeneral::m_pOcrBrowse;
  static constexpr auto OcrEntry = &TabGeneral::m_pOcrEntry;
  static constexpr auto Scanpath = &TabGeneral::m_szScanpath;
  static constexpr auto Ocrpath = &TabGeneral::m_szOcrpath;
  static constexpr auto Guard = &TabGeneral::m_wUpdating;
};

struct TabNetwork : CTabNetwork {
  static constexpr auto Machines = &TabNetwork::m_pMachines;
  static constexpr auto Count = &TabNetwork::m_iNumMachine;
  static constexpr auto Hostname = &TabNetwork::m_szHostname;
  static constexpr auto ListUpFlag = &TabNetwork::m_iPCNameListUp;
  static constexpr auto Frame = &TabNetwork::m_pFrame;
  static constexpr auto NameLabel = &TabNetwork::m_pNameLabel;
  static constexpr auto ListUp = &TabNetwork::m_pListUp;
  static constexpr auto NameEntry = &TabNetwork::m_pNameEntry;
  static constexpr auto Heading = &TabNetwork::m_pHeading;
  static constexpr auto DeviceList = &TabNetwork::m_pDeviceList;
  static constexpr auto Search = &TabNetwork::m_pSearch;
  static constexpr auto Configure = &TabNetwork::m_pConfigure;
  static constexpr auto Guard = &TabNetwork::m_wUpdating;
};

constexpr std::ptrdiff_t kPointer = sizeof(void*);

// How far into `object` a field lies, to pin the order of the fields.
template <typename Class, typename Field>
std::ptrdiff_t Offset(const Class& object, const Field& field) {
  return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&object);
}

inline std::string Home() { return getpwuid(getuid())->pw_dir; }
inline std::string SettingsFolder() { return Home() + "/.VeltranaDVX"; }
inline std::string SettingsFile() { return SettingsFolder() + "/dvxtools.conf"; }
inline std::string ScanFolder() { return Home() + "/Veltrana/DVX/Scan"; }

inline std::string Read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void Write(const std::string& path, const std::string& content) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content;
  file.close();
  ASSERT_TRUE(file.good()) << path;
}

inline int Mode(const std::string& path) {
  struct stat info = {};
  EXPECT_EQ(0, stat(path.c_str(), &info)) << path;
  return static_cast<int>(info.st_mode) & 07777;
}

inline bool IsSensitive(const xWidget& control) {
  return gtk_widget_get_sensitive(control.GetWidget()) != 0;
}

inline std::string EntryText(const xWidget& entry) {
  return gtk_entry_get_text(GTK_ENTRY(entry.GetWidget()));
}

inline std::string LabelText(const GtkWidget* label) {
  return gtk_label_get_text(GTK_LABEL(const_cast<GtkWidget*>(label)));
}

inline std::string FrameTitle(const xFrame& frame) {
  return gtk_frame_get_label(GTK_FRAME(frame.GetWidget()));
}

inline std::string ButtonText(const xWidget& button) {
  return gtk_button_get_label(GTK_BUTTON(button.GetWidget()));
}

inline void Click(const xWidget& button) { gtk_button_clicked(GTK_BUTTON(button.GetWidget())); }

// Replaces the text of an entry as typing does.
inline void Type(const xWidget& entry, const std::string& text) {
  gtk_editable_delete_text(GTK_EDITABLE(entry.GetWidget()), 0, -1);
  gint position = 0;
  gtk_editable_insert_text(GTK_EDITABLE(entry.GetWidget()), text.c_str(),
                           static_cast<gint>(text.size()), &position);
}

// Runs the main loop and does `action` in it. Returns whether the loop is left before `patience_ms`
// have passed after that; 0 gives it only until nothing is left to do.
inline bool LeavesMainLoop(const std::function<void()>& action,
                           int patience_ms = gtk_test::kPatienceMs) {
  struct Run {
    const std::function<void()>& action;
    int patience_ms;
    guint source = 0;
    bool given_up = false;
  } run{action, patience_ms};
  g_idle_add(
      [](gpointer data) -> gboolean {
        auto* self = static_cast<Run*>(data);
        self->action();
        self->source = g_timeout_add_full(
            G_PRIORITY_LOW, static_cast<guint>(self->patience_ms),
            [](gpointer late) -> gboolean {
              static_cast<Run*>(late)->given_up = true;
              gtk_main_quit();
              return TRUE;
            },
            self, nullptr);
        return FALSE;
      },
      &run);
  gtk_main();
  g_source_remove(run.source);
  return !run.given_up;
}

// Mounts an empty read-only folder, which not even root can write to.
class ReadOnlyFolder {
 public:
  explicit ReadOnlyFolder(std::string path) : m_szPath(std::move(path)) {
    fs::create_directories(m_szPath);
    EXPECT_EQ(0, mount("none", m_szPath.c_str(), "tmpfs", MS_RDONLY, nullptr)) << strerror(errno);
  }
  ~ReadOnlyFolder() { EXPECT_EQ(0, umount(m_szPath.c_str())) << strerror(errno); }
  ReadOnlyFolder(const ReadOnlyFolder&) = delete;
  ReadOnlyFolder& operator=(const ReadOnlyFolder&) = delete;

 private:
  std::string m_szPath;
};

// Reads a text of the message box that is running.
inline std::string MessageText(GtkDialog* box) {
  gchar* text = nullptr;
  g_object_get(box, "text", &text, nullptr);
  std::string result(text != nullptr ? text : "");
  g_free(text);
  return result;
}

// An application object whose main window the test makes itself.
class App : public xApp {
 public:
  // Deletes the window object and then the GTK window, as no test program ends with it.
  ~App() override { DropWindow(); }

  CMainWin* MakeWindow() {
    auto* window = new CMainWin;
    m_pMainWnd = window;
    m_pWidget = window->GetWidget();
    g_object_ref(m_pWidget);
    return window;
  }

  void DropWindow() {
    delete m_pMainWnd;
    m_pMainWnd = nullptr;
    if (m_pWidget == nullptr) return;
    gtk_widget_destroy(m_pWidget);
    g_object_unref(m_pWidget);
    m_pWidget = nullptr;
    gtk_test::Pump();
  }

 private:
  GtkWidget* m_pWidget = nullptr;
};

// A fresh home and language folder, no scanner on the network, and an application object without a
// window.
class UiTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(fs::exists("/tmp/.lab")) << "run this test with script/lab";
    for (const std::string& path :
         {SettingsFolder(), Home() + "/Veltrana", std::string(kLanguageFolder)}) {
      fs::remove_all(path);
    }
    setenv("LANG", "C.UTF-8", 1);
    fake_scanners::Reset();
    m_pApp = std::make_unique<App>();
  }
  void TearDown() override {
    m_pApp.reset();
    xApp::m_Instance = nullptr;
  }

  // The main window as the program makes it, except that it stays hidden.
  CMainWin& OpenWindow() {
    CreateWindow();
    Window().InitTabs();
    return Window();
  }
  // The same before the settings are read.
  CMainWin& CreateWindow() {
    // Every start without a settings file says so on standard error.
    m_pApp->MakeWindow()->OnCreate();
    return Window();
  }

  CMainWin& Window() { return *static_cast<CMainWin*>(m_pApp->m_pMainWnd); }
  CMainTabs& Tabs() { return *(Window().*MainWin::Tabs); }
  CTabGeneral& General() { return static_cast<CTabGeneral&>(*(Tabs().*MainTabs::Tabs)[0]); }
  CTabNetwork& Network() { return static_cast<CTabNetwork&>(*(Tabs().*MainTabs::Tabs)[1]); }
  xStockButton& Apply() { return *(Window().*MainWin::Apply); }
  xStockButton& OK() { return *(Window().*MainWin::OK); }
  xStockButton& Cancel() { return *(Window().*MainWin::Cancel); }
  xEntry& ScanEntry() { return *(General().*TabGeneral::ScanEntry); }
  xEntry& OcrEntry() { return *(General().*TabGeneral::OcrEntry); }
  xEntryNoWide& NameEntry() { return *(Network().*TabNetwork::NameEntry); }
  xCheckBox& ListUp() { return *(Network().*TabNetwork::ListUp); }
  bool IsModified() { return IsSensitive(Apply()); }
  GtkNotebook* Notebook() { return GTK_NOTEBOOK(Tabs().GetWidget()); }

  std::unique_ptr<App> m_pApp;
};

}  // namespace ui_test
