// Tests of destroying a file chooser while GTK waits for answers about files.
#include <dlfcn.h>
#include <gio/gio.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <iterator>
#include <memory>
#include <string>
#include <utility>

#include "tests/support/gtk_test.h"
#include "xwidgets/dialogs.h"

// --- the questions about files ------------------------------------------------------------------

namespace {

// g_file_query_info_async, about a file, or g_file_enumerate_children_async, for what is in a
// folder.
using Ask = void (*)(GFile*, const char*, GFileQueryInfoFlags, int, GCancellable*,
                     GAsyncReadyCallback, gpointer);

// A question that GTK has asked, held back until Answer.
struct Question {
  Ask ask;
  GFile* file;
  std::string attributes;
  GFileQueryInfoFlags flags;
  int priority;
  GCancellable* cancellable;
  GAsyncReadyCallback callback;
  gpointer data;
};
using Questions = std::deque<Question>;

bool holding = false;
Questions questions;
int answers = 0;

void Hear(GObject* file, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Question> asked(static_cast<Question*>(data));
  asked->callback(file, result, asked->data);
  g_object_unref(asked->file);
  if (asked->cancellable != nullptr) g_object_unref(asked->cancellable);
  ++answers;
}

// Gives GTK the answer to one question, the oldest unless told otherwise.
void Answer(const Questions::iterator& which = questions.begin()) {
  const int before = answers;
  const Question asked = *which;
  questions.erase(which);
  asked.ask(asked.file, asked.attributes.c_str(), asked.flags, asked.priority, asked.cancellable,
            Hear, new Question(asked));
  EXPECT_TRUE(gtk_test::PumpUntil([=] { return answers > before; }));
}

void AnswerAll() {
  do {
    while (!questions.empty()) Answer();
    gtk_test::Pump();
  } while (!questions.empty());
}

void Hold(const char* name, Question question) {
  question.ask = reinterpret_cast<Ask>(dlsym(RTLD_NEXT, name));
  if (!holding) {
    question.ask(question.file, question.attributes.c_str(), question.flags, question.priority,
                 question.cancellable, question.callback, question.data);
    return;
  }
  g_object_ref(question.file);
  if (question.cancellable != nullptr) g_object_ref(question.cancellable);
  questions.push_back(question);
}

}  // namespace

// In place of GIO's, also for GTK.
extern "C" void g_file_query_info_async(GFile* file, const char* attributes,
                                        GFileQueryInfoFlags flags, int priority,
                                        GCancellable* cancellable, GAsyncReadyCallback callback,
                                        gpointer data) {
  Hold("g_file_query_info_async",
       {nullptr, file, attributes, flags, priority, cancellable, callback, data});
}

extern "C" void g_file_enumerate_children_async(GFile* file, const char* attributes,
                                                GFileQueryInfoFlags flags, int priority,
                                                GCancellable* cancellable,
                                                GAsyncReadyCallback callback, gpointer data) {
  Hold("g_file_enumerate_children_async",
       {nullptr, file, attributes, flags, priority, cancellable, callback, data});
}

// --- the choosers -------------------------------------------------------------------------------

namespace {

void FindByType(GtkWidget* widget, gpointer found) {
  auto* wanted = static_cast<std::pair<const char*, gpointer>*>(found);
  if (std::string(G_OBJECT_TYPE_NAME(widget)) == wanted->first) wanted->second = widget;
  if (GTK_IS_CONTAINER(widget)) gtk_container_forall(GTK_CONTAINER(widget), FindByType, found);
}

// Counts the objects that are in memory of those that it was told to watch.
class InMemory {
 public:
  void Watch(gpointer object) {
    ++m_Count;
    g_object_set_data_full(G_OBJECT(object), "in-memory", &m_Count,
                           [](gpointer count) { --*static_cast<int*>(count); });
  }
  int Count() const { return m_Count; }

 private:
  int m_Count = 0;
};

// A chooser on the screen that shows a folder once it has its answers.
struct Chooser {
  explicit Chooser(GtkFileChooserAction action, const std::string& folder = g_get_home_dir())
      : dialog(gtk_file_chooser_dialog_new("choose", nullptr, action, "gtk-ok", GTK_RESPONSE_ACCEPT,
                                           nullptr)) {
    gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(dialog), folder.c_str());
    EXPECT_TRUE(gtk_test::ShowAndWait(dialog));
  }
  GtkWidget* Within(const char* type) const {
    std::pair<const char*, gpointer> found(type, nullptr);
    FindByType(dialog, &found);
    EXPECT_NE(nullptr, found.second) << type;
    return GTK_WIDGET(found.second);
  }

  GtkWidget* dialog;
};

// Answers each modal dialog that comes while it lives.
class DialogsCounted {
 public:
  DialogsCounted() : m_Ticker(g_timeout_add(10, Look, this)) {}
  ~DialogsCounted() { g_source_remove(m_Ticker); }
  DialogsCounted(const DialogsCounted&) = delete;
  DialogsCounted& operator=(const DialogsCounted&) = delete;

  int Count() const { return m_Count; }

 private:
  static gboolean Look(gpointer self) {
    GtkDialog* dialog = gtk_test::ModalAnswer::Running();
    if (dialog == nullptr) return TRUE;
    ++static_cast<DialogsCounted*>(self)->m_Count;
    gtk_dialog_response(dialog, GTK_RESPONSE_CLOSE);
    return TRUE;
  }

  int m_Count = 0;
  guint m_Ticker;
};

// The widgets that answers are for.
constexpr const char* kAnswered[] = {"GtkPathBar", "GtkFileChooserDefault"};

class FileChooserTest : public ::testing::TestWithParam<GtkFileChooserAction> {
 protected:
  void SetUp() override {
    g_object_unref(g_file_new_for_path("/"));  // GIO tells how it is set up
    holding = true;
  }
  void TearDown() override { holding = false; }
};

// A chooser that is closed as soon as it was opened, after its first answer, its second, and so on.
TEST_P(FileChooserTest, MayBeDestroyedWhateverAnswersAreStillToCome) {
  const gtk_test::Warnings warnings;
  InMemory answered;
  int watched = 0;
  bool waits = true;
  int given = 0;
  for (; waits; ++given) {
    const Chooser chooser(GetParam());
    for (const char* type : kAnswered) answered.Watch(chooser.Within(type));
    watched += 2;
    for (int i = 0; i < given && !questions.empty(); ++i) Answer();
    waits = !questions.empty();
    xDestroyFileChooser(chooser.dialog);
    ASSERT_EQ(watched, answered.Count()) << "after " << given << " answers";
    AnswerAll();
    EXPECT_THAT(warnings.Messages(), ::testing::IsEmpty()) << "after " << given << " answers";
  }
  // About the folder, what is in it, each folder on the way to it, and the icon of the home folder.
  EXPECT_LT(5, given);
}

TEST_P(FileChooserTest, IsGoneFromTheScreenAtOnceAndFromMemoryInTheEnd) {
  const Chooser chooser(GetParam());
  InMemory answered;
  for (const char* type : kAnswered) answered.Watch(chooser.Within(type));
  answered.Watch(chooser.dialog);
  AnswerAll();
  xDestroyFileChooser(chooser.dialog, 1);
  EXPECT_FALSE(gtk_widget_get_visible(chooser.dialog));
  AnswerAll();
  EXPECT_TRUE(gtk_test::PumpUntil([&] { return answered.Count() == 0; }));
}

// Nobody waits for a folder any more whose server answers, with an error, when the chooser is
// closed.
TEST_P(FileChooserTest, SaysNothingAboutAFolderAfterItWasDestroyed) {
  for (const bool destroyed : {false, true}) {
    const DialogsCounted dialogs;
    const std::string folder = std::string(g_get_home_dir()) + "/going";
    ASSERT_EQ(0, mkdir(folder.c_str(), 0755));
    const Chooser chooser(GetParam(), folder);
    const auto lists = [](const Question& question) {
      return question.attributes.find("standard::name") != std::string::npos;
    };
    const auto listing = [&] { return std::find_if(questions.begin(), questions.end(), lists); };
    while (!questions.empty() && listing() == questions.end()) Answer();
    ASSERT_NE(questions.end(), listing());
    ASSERT_EQ(0, rmdir(folder.c_str()));
    if (destroyed) {
      xDestroyFileChooser(chooser.dialog);
      Answer(std::prev(questions.end()));
    }
    AnswerAll();
    EXPECT_EQ(destroyed ? 0 : 1, dialogs.Count());
    if (!destroyed) xDestroyFileChooser(chooser.dialog);
    AnswerAll();
  }
}

INSTANTIATE_TEST_SUITE_P(FoldersAndFiles, FileChooserTest,
                         ::testing::Values(GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER,
                                           GTK_FILE_CHOOSER_ACTION_OPEN));

}  // namespace
