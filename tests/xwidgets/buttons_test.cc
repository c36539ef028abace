// Tests of push buttons, toggle buttons, check boxes and radio buttons.
#include "xwidgets/buttons.h"

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/fake_bitmaps.h"
#include "tests/support/gtk_test.h"
#include "tests/support/notify_recorder.h"
#include "tests/support/signal_handlers.h"
#include "tests/support/vtable_slot.h"

namespace {

using Texts = std::vector<std::string>;
using Requests = std::vector<unsigned short>;

// A window with one button, or several, in it.
class ButtonWindow {
 public:
  ButtonWindow() : m_pWindow(gtk_window_new(GTK_WINDOW_TOPLEVEL)), m_pBox(gtk_vbox_new(FALSE, 0)) {
    gtk_container_add(GTK_CONTAINER(m_pWindow), m_pBox);
  }
  ~ButtonWindow() { gtk_widget_destroy(m_pWindow); }
  ButtonWindow(const ButtonWindow&) = delete;
  ButtonWindow& operator=(const ButtonWindow&) = delete;

  void Add(const xWidget& button) { gtk_container_add(GTK_CONTAINER(m_pBox), button.GetWidget()); }
  bool Show() { return gtk_test::ShowAndFocus(m_pWindow); }
  GtkWidget* Window() const { return m_pWindow; }

 private:
  GtkWidget* m_pWindow;
  GtkWidget* m_pBox;
};

void Click(const xWidget& button) { gtk_button_clicked(GTK_BUTTON(button.GetWidget())); }

GtkWidget* Content(const xWidget& button) { return gtk_bin_get_child(GTK_BIN(button.GetWidget())); }

GdkPixbuf* ShownPicture(GtkWidget* image) {
  const GtkImageType type = gtk_image_get_storage_type(GTK_IMAGE(image));
  return type == GTK_IMAGE_PIXBUF ? gtk_image_get_pixbuf(GTK_IMAGE(image)) : nullptr;
}

std::string StockItem(GtkWidget* image) {
  if (gtk_image_get_storage_type(GTK_IMAGE(image)) != GTK_IMAGE_STOCK) return "";
  gchar* stockId = nullptr;
  GtkIconSize size = GTK_ICON_SIZE_INVALID;
  gtk_image_get_stock(GTK_IMAGE(image), &stockId, &size);
  return std::string(stockId) + " " + std::to_string(size);
}

// Checks that the button holds a row with a picture and then the text, and returns the picture.
GtkWidget* ExpectIconRow(const xWidget& button, const char* text, guint mnemonic) {
  GtkWidget* row = Content(button);
  EXPECT_TRUE(GTK_IS_HBOX(row));
  EXPECT_EQ(2, gtk_box_get_spacing(GTK_BOX(row)));
  EXPECT_FALSE(gtk_box_get_homogeneous(GTK_BOX(row)));
  const std::vector<GtkWidget*> children = gtk_test::Children(row);
  EXPECT_EQ(2U, children.size());
  for (GtkWidget* child : children) {
    EXPECT_EQ(GTK_PACK_START, gtk_test::ChildProperty(row, child, "pack-type"));
    EXPECT_EQ(0, gtk_test::ChildProperty(row, child, "expand"));
    EXPECT_EQ(0, gtk_test::ChildProperty(row, child, "fill"));
    EXPECT_EQ(0, gtk_test::ChildProperty(row, child, "padding"));
  }
  EXPECT_TRUE(GTK_IS_LABEL(children.at(1)));
  EXPECT_STREQ(text, gtk_label_get_text(GTK_LABEL(children.at(1))));
  EXPECT_EQ(mnemonic, gtk_label_get_mnemonic_keyval(GTK_LABEL(children.at(1))));
  EXPECT_EQ(nullptr, gtk_button_get_image(GTK_BUTTON(button.GetWidget())))
      << "GTK's own image of a button is not used";
  return children.at(0);
}

// --- the tables of virtual functions and the fields ---------------------------------------------

TEST(ButtonTables, ContinueThatOfTheBinInTheFixedOrder) {
  EXPECT_EQ(22, vtable::Slot(&xButtonBase::SetWindowText));
  EXPECT_EQ(23, vtable::Slot(&xButtonBase::SetImage));
  EXPECT_EQ(24, vtable::Slot(&xButtonBase::OnClicked));
  EXPECT_EQ(24, vtable::SlotCount<xButtonBase>());
  EXPECT_EQ(24, vtable::Slot(&xToggleButton::OnClicked));
  EXPECT_EQ(24, vtable::SlotCount<xButton>());
  EXPECT_EQ(24, vtable::SlotCount<xStockButton>());
  EXPECT_EQ(24, vtable::SlotCount<xToggleButton>());
  EXPECT_EQ(24, vtable::SlotCount<xCheckBox>());
  EXPECT_EQ(24, vtable::SlotCount<xRadioBox>());
}

TEST(ButtonTables, HaveTheFixedTypesAndFields) {
  static_assert(std::is_same_v<decltype(&xCheckBox::GetCheck), int (xCheckBox::*)() const>);
  static_assert(std::is_same_v<decltype(&xToggleButton::GetCheck), int (xToggleButton::*)()>);
  static_assert(std::is_base_of_v<xBin, xButtonBase> && std::is_base_of_v<xCheckBox, xRadioBox>);
  static_assert(!std::is_base_of_v<xToggleButton, xCheckBox>);
  static_assert(sizeof(xButtonBase) == sizeof(xBin) + sizeof(void*));
  static_assert(sizeof(xButton) == sizeof(xButtonBase));
  static_assert(sizeof(xCheckBox) == sizeof(xButtonBase));
  static_assert(sizeof(xRadioBox) == sizeof(xButtonBase));
  static_assert(sizeof(xToggleButton) == sizeof(xButtonBase) + sizeof(void*), "a flag, padded");
}

// --- the base -----------------------------------------------------------------------------------

TEST(ButtonBase, MakesNoWidget) {
  xButtonBase button(nullptr, 1);
  EXPECT_EQ(nullptr, button.GetWidget());
}

TEST(ButtonBase, TellsItsParentOfAClickWithItsIdentifier) {
  NotifyRecorder parent;
  xButtonBase button(&parent, 4000000000U);
  xButtonBase::CallBack_Clicked(nullptr, &button);
  EXPECT_EQ(Texts{"BtnClicked 4000000000"}, parent.Take());
  xButtonBase orphan(nullptr, 1);
  orphan.OnClicked();
}

TEST(ButtonBase, IgnoresBitmapsWhenItHasNoImageOfItsOwn) {
  xButton button(nullptr, 1, nullptr, fake_bitmaps::kSquare, nullptr);
  ButtonWindow window;
  window.Add(button);
  fake_bitmaps::TakeRequests();
  button.SetImage(fake_bitmaps::kWide);
  button.SetImage(0);
  EXPECT_EQ(Requests(), fake_bitmaps::TakeRequests());
  EXPECT_EQ(fake_bitmaps::Get(fake_bitmaps::kSquare), ShownPicture(Content(button)));
}

TEST(ButtonBase, StopsListeningWhenItIsDeleted) {
  ButtonWindow window;
  auto button = std::make_unique<xButton>(nullptr, 1, "text", static_cast<unsigned short>(0),
                                          static_cast<const char*>(nullptr));
  window.Add(*button);
  GtkWidget* widget = button->GetWidget();
  void* address = button.get();
  EXPECT_EQ(1U, CountHandlers(widget, address));
  button.reset();
  EXPECT_EQ(0U, CountHandlers(widget, address));
  gtk_button_clicked(GTK_BUTTON(widget));
}

// --- push buttons -------------------------------------------------------------------------------

TEST(Button, WithTextOnlyHasAMnemonicOnTheUnderscore) {
  NotifyRecorder parent;
  xButton button(&parent, 3, "_Search", 0, nullptr);
  ButtonWindow window;
  window.Add(button);
  auto* widget = GTK_BUTTON(button.GetWidget());
  EXPECT_STREQ("_Search", gtk_button_get_label(widget));
  EXPECT_TRUE(gtk_button_get_use_underline(widget));
  ASSERT_TRUE(GTK_IS_LABEL(Content(button)));
  EXPECT_STREQ("Search", gtk_label_get_text(GTK_LABEL(Content(button))));
  EXPECT_EQ(guint{GDK_s}, gtk_label_get_mnemonic_keyval(GTK_LABEL(Content(button))));
  Click(button);
  EXPECT_EQ(Texts{"BtnClicked 3"}, parent.Take());
}

TEST(Button, KeepsMnemonicsOnWhenItsTextIsChanged) {
  xButton button(nullptr, 1, "plain", 0, nullptr);
  ButtonWindow window;
  window.Add(button);
  gtk_button_set_use_underline(GTK_BUTTON(button.GetWidget()), FALSE);
  button.SetWindowText("_Configure...");
  EXPECT_TRUE(gtk_button_get_use_underline(GTK_BUTTON(button.GetWidget())));
  EXPECT_STREQ("Configure...", gtk_label_get_text(GTK_LABEL(Content(button))));
  EXPECT_EQ(guint{GDK_c}, gtk_label_get_mnemonic_keyval(GTK_LABEL(Content(button))));
}

TEST(Button, WithTextAndStockItemShowsTheIconLeftOfTheText) {
  NotifyRecorder parent;
  fake_bitmaps::TakeRequests();
  xButton button(&parent, 6, "_Open <b>it</b>", fake_bitmaps::kSquare, "gtk-open");
  ButtonWindow window;
  window.Add(button);
  GtkWidget* icon = ExpectIconRow(button, "Open it", GDK_o);
  EXPECT_EQ("gtk-open 4", StockItem(icon)) << "the stock item wins over the bitmap";
  EXPECT_EQ(Requests(), fake_bitmaps::TakeRequests());
  ASSERT_TRUE(window.Show());
  EXPECT_LT(icon->allocation.x, gtk_test::Children(Content(button)).at(1)->allocation.x);
  Click(button);
  EXPECT_EQ(Texts{"BtnClicked 6"}, parent.Take());
}

TEST(Button, WithTextAndBitmapShowsTheBitmapLeftOfTheText) {
  xButton button(nullptr, 1, "_Scan", fake_bitmaps::kSquare, nullptr);
  ButtonWindow window;
  window.Add(button);
  GtkWidget* icon = ExpectIconRow(button, "Scan", GDK_s);
  EXPECT_EQ(fake_bitmaps::Get(fake_bitmaps::kSquare), ShownPicture(icon));
}

TEST(Button, BesideAnIconTakesItsTextAsMarkup) {
  gtk_test::Warnings warnings;
  xButton button(nullptr, 1, "A & B", 0, "gtk-open");
  ButtonWindow window;
  window.Add(button);
  ExpectIconRow(button, "", GDK_VoidSymbol);
  EXPECT_TRUE(warnings.Contain("Failed to set text from markup")) << "a bare & is no markup";
  EXPECT_EQ(2U, warnings.Messages().size()) << "GTK parses it once more for the mnemonic";
}

TEST(Button, WithOnlyABitmapShowsTheBitmapAlone) {
  NotifyRecorder parent;
  fake_bitmaps::TakeRequests();
  xButton button(&parent, 2, nullptr, fake_bitmaps::kWide, nullptr);
  ButtonWindow window;
  window.Add(button);
  ASSERT_TRUE(GTK_IS_IMAGE(Content(button)));
  EXPECT_EQ(fake_bitmaps::Get(fake_bitmaps::kWide), ShownPicture(Content(button)));
  EXPECT_EQ(Requests{fake_bitmaps::kWide}, fake_bitmaps::TakeRequests());
  Click(button);
  EXPECT_EQ(Texts{"BtnClicked 2"}, parent.Take());
}

TEST(Button, WithOnlyAStockItemShowsItsIconAlone) {
  xButton button(nullptr, 2, nullptr, fake_bitmaps::kWide, "gtk-open");
  ButtonWindow window;
  window.Add(button);
  ASSERT_TRUE(GTK_IS_IMAGE(Content(button)));
  EXPECT_EQ("gtk-open 4", StockItem(Content(button)));
}

TEST(Button, WithNothingIsEmptyAndStillClicks) {
  NotifyRecorder parent;
  fake_bitmaps::TakeRequests();
  xButton button(&parent, 2, nullptr, 0, nullptr);
  ButtonWindow window;
  window.Add(button);
  EXPECT_EQ(nullptr, Content(button));
  EXPECT_EQ(Requests(), fake_bitmaps::TakeRequests()) << "bitmap 0 is not asked for";
  Click(button);
  EXPECT_EQ(Texts{"BtnClicked 2"}, parent.Take());
}

TEST(Button, LosesItsIconRowWhenItsTextIsChanged) {
  xButton button(nullptr, 1, "old", 0, "gtk-open");
  ButtonWindow window;
  window.Add(button);
  button.SetWindowText("_new");
  ASSERT_TRUE(GTK_IS_LABEL(Content(button)));
  EXPECT_STREQ("new", gtk_label_get_text(GTK_LABEL(Content(button))));
}

TEST(Button, ReportsAClickOfTheMouseAndAMnemonic) {
  NotifyRecorder parent;
  xButton button(&parent, 11, "_Press", 0, nullptr);
  ButtonWindow window;
  window.Add(button);
  ASSERT_TRUE(window.Show());
  GdkWindow* area = GTK_BUTTON(button.GetWidget())->event_window;
  gdk_test_simulate_button(area, 5, 5, 1, static_cast<GdkModifierType>(0), GDK_BUTTON_PRESS);
  gdk_test_simulate_button(area, 5, 5, 1, static_cast<GdkModifierType>(0), GDK_BUTTON_RELEASE);
  Texts calls;
  ASSERT_TRUE(gtk_test::PumpUntil([&] {
    for (std::string& call : parent.Take()) calls.push_back(call);
    return !calls.empty();
  }));
  EXPECT_EQ(Texts{"BtnClicked 11"}, calls);
  gtk_window_mnemonic_activate(GTK_WINDOW(window.Window()), GDK_p, GDK_MOD1_MASK);
  calls.clear();
  ASSERT_TRUE(gtk_test::PumpUntil([&] {
    for (std::string& call : parent.Take()) calls.push_back(call);
    return !calls.empty();
  }));
  EXPECT_EQ(Texts{"BtnClicked 11"}, calls);
}

TEST(StockButton, TakesLabelIconAndMnemonicFromTheStockItem) {
  NotifyRecorder parent;
  xStockButton button(&parent, 4, "gtk-ok");
  ButtonWindow window;
  window.Add(button);
  auto* widget = GTK_BUTTON(button.GetWidget());
  EXPECT_TRUE(gtk_button_get_use_stock(widget));
  EXPECT_STREQ("gtk-ok", gtk_button_get_label(widget));
  EXPECT_TRUE(gtk_button_get_use_underline(widget));
  Click(button);
  EXPECT_EQ(Texts{"BtnClicked 4"}, parent.Take());
}

// --- toggle buttons -----------------------------------------------------------------------------

TEST(ToggleButton, ReportsClicksOfTheUserButNeverSetCheck) {
  NotifyRecorder parent;
  xToggleButton button(&parent, 21, "_Hold", 0);
  ButtonWindow window;
  window.Add(button);
  EXPECT_EQ(0, button.GetCheck());
  button.SetCheck(-1);
  EXPECT_EQ(1, button.GetCheck());
  button.SetCheck(1);
  button.SetCheck(0);
  EXPECT_EQ(0, button.GetCheck());
  EXPECT_EQ(Texts(), parent.Take());
  Click(button);
  EXPECT_EQ(Texts{"BtnClicked 21"}, parent.Take());
  EXPECT_EQ(1, button.GetCheck());
  button.SetCheck(0);
  Click(button);
  EXPECT_EQ(Texts{"BtnClicked 21"}, parent.Take()) << "reported again after a change by program";
}

TEST(ToggleButton, WithoutParentReportsNothing) {
  xToggleButton button(nullptr, 21, "_Hold", 0);
  ButtonWindow window;
  window.Add(button);
  Click(button);
  EXPECT_EQ(1, button.GetCheck());
}

TEST(ToggleButton, WithTextOnlyHasAMnemonicAndNoImage) {
  fake_bitmaps::TakeRequests();
  xToggleButton button(nullptr, 1, "_Hold", 0);
  ButtonWindow window;
  window.Add(button);
  ASSERT_TRUE(GTK_IS_TOGGLE_BUTTON(button.GetWidget()));
  EXPECT_FALSE(GTK_IS_CHECK_BUTTON(button.GetWidget()));
  ASSERT_TRUE(GTK_IS_LABEL(Content(button)));
  EXPECT_EQ(guint{GDK_h}, gtk_label_get_mnemonic_keyval(GTK_LABEL(Content(button))));
  button.SetImage(fake_bitmaps::kWide);
  EXPECT_EQ(Requests(), fake_bitmaps::TakeRequests());
}

TEST(ToggleButton, WithTextAndBitmapShowsTheBitmapLeftOfTheText) {
  xToggleButton button(nullptr, 1, "_Hold <i>it</i>", fake_bitmaps::kSquare);
  ButtonWindow window;
  window.Add(button);
  GtkWidget* image = ExpectIconRow(button, "Hold it", GDK_h);
  EXPECT_EQ(fake_bitmaps::Get(fake_bitmaps::kSquare), ShownPicture(image));
  button.SetImage(fake_bitmaps::kWide);
  EXPECT_EQ(fake_bitmaps::Get(fake_bitmaps::kWide), ShownPicture(image));
}

TEST(ToggleButton, WithOnlyABitmapOwnsTheImageThatItShows) {
  NotifyRecorder parent;
  auto button = std::make_unique<xToggleButton>(&parent, 1, nullptr, fake_bitmaps::kSquare);
  ButtonWindow window;
  window.Add(*button);
  GtkWidget* image = Content(*button);
  ASSERT_TRUE(GTK_IS_IMAGE(image));
  EXPECT_EQ(2U, G_OBJECT(image)->ref_count) << "the button's and the image object's";
  button->SetImage(fake_bitmaps::kWide);
  EXPECT_EQ(fake_bitmaps::Get(fake_bitmaps::kWide), ShownPicture(image));
  button->SetImage(0);
  EXPECT_EQ(fake_bitmaps::Get(fake_bitmaps::kWide), ShownPicture(image)) << "0 changes nothing";
  Click(*button);
  EXPECT_EQ(Texts{"BtnClicked 1"}, parent.Take());
  button.reset();
  EXPECT_EQ(1U, G_OBJECT(image)->ref_count);
}

TEST(ToggleButton, WithNothingIsEmpty) {
  fake_bitmaps::TakeRequests();
  xToggleButton button(nullptr, 1, nullptr, 0);
  ButtonWindow window;
  window.Add(button);
  EXPECT_EQ(nullptr, Content(button));
  EXPECT_EQ(Requests(), fake_bitmaps::TakeRequests());
}

// --- check boxes --------------------------------------------------------------------------------

TEST(CheckBox, SetCheckReportsAChangeAndNothingElse) {
  NotifyRecorder parent;
  xCheckBox box(&parent, 5, "_List up");
  ButtonWindow window;
  window.Add(box);
  EXPECT_EQ(0, box.GetCheck());
  box.SetCheck(0);
  EXPECT_EQ(Texts(), parent.Take());
  box.SetCheck(1);
  EXPECT_EQ(Texts{"BtnClicked 5"}, parent.Take());
  EXPECT_EQ(1, box.GetCheck());
  box.SetCheck(1);
  box.SetCheck(-1);
  EXPECT_EQ(Texts(), parent.Take()) << "it was checked already";
  box.SetCheck(0);
  EXPECT_EQ(Texts{"BtnClicked 5"}, parent.Take());
}

TEST(CheckBox, ReportsAClickOfTheUserWhenItsStateHasChanged) {
  class Parent : public NotifyRecorder {
   public:
    void OnNofityBtnClicked(unsigned int id) override {
      NotifyRecorder::OnNofityBtnClicked(id);
      seen = box->GetCheck();
    }
    const xCheckBox* box = nullptr;
    int seen = -1;
  };
  Parent parent;
  xCheckBox box(&parent, 5, "List up");
  parent.box = &box;
  ButtonWindow window;
  window.Add(box);
  Click(box);
  EXPECT_EQ(Texts{"BtnClicked 5"}, parent.Take());
  EXPECT_EQ(1, parent.seen);
}

TEST(CheckBox, HasAMnemonicOrNoTextAtAll) {
  xCheckBox box(nullptr, 1, "_List up");
  xCheckBox bare(nullptr, 1, nullptr);
  ButtonWindow window;
  window.Add(box);
  window.Add(bare);
  ASSERT_TRUE(GTK_IS_CHECK_BUTTON(box.GetWidget()));
  EXPECT_FALSE(GTK_IS_RADIO_BUTTON(box.GetWidget()));
  EXPECT_EQ(guint{GDK_l}, gtk_label_get_mnemonic_keyval(GTK_LABEL(Content(box))));
  ASSERT_TRUE(GTK_IS_CHECK_BUTTON(bare.GetWidget()));
  EXPECT_EQ(nullptr, Content(bare));
}

TEST(CheckBox, MadeAsABaseHasNoWidget) {
  NotifyRecorder parent;
  xCheckBox box(9U, &parent);
  EXPECT_EQ(nullptr, box.GetWidget());
  box.OnClicked();
  EXPECT_EQ(Texts{"BtnClicked 9"}, parent.Take());
}

// --- radio buttons ------------------------------------------------------------------------------

TEST(RadioBox, FirstStartsANewGroupThatLaterOnesJoin) {
  xRadioBox first(nullptr, 1, "_First", nullptr);
  xRadioBox second(nullptr, 2, "Second", &first);
  xRadioBox third(nullptr, 3, nullptr, &first);
  xRadioBox apart(nullptr, 4, nullptr, nullptr);
  ButtonWindow window;
  for (const xRadioBox* box : {&first, &second, &third, &apart}) window.Add(*box);
  const auto group = [](const xRadioBox& box) {
    return gtk_radio_button_get_group(GTK_RADIO_BUTTON(box.GetWidget()));
  };
  EXPECT_EQ(3U, g_slist_length(group(first)));
  EXPECT_EQ(group(first), group(second));
  EXPECT_EQ(group(first), group(third));
  EXPECT_EQ(1U, g_slist_length(group(apart)));
  EXPECT_EQ(1, first.GetCheck());
  EXPECT_EQ(0, second.GetCheck());
  EXPECT_EQ(0, third.GetCheck());
  EXPECT_EQ(1, apart.GetCheck());
  EXPECT_EQ(guint{GDK_f}, gtk_label_get_mnemonic_keyval(GTK_LABEL(Content(first))));
  EXPECT_EQ(nullptr, Content(third));
}

TEST(RadioBox, ChangeIsReportedByTheOldOneAndThenByTheNewOne) {
  NotifyRecorder parent;
  xRadioBox first(&parent, 1, "First", nullptr);
  xRadioBox second(&parent, 2, "Second", &first);
  ButtonWindow window;
  window.Add(first);
  window.Add(second);
  second.SetCheck(1);
  EXPECT_EQ((Texts{"BtnClicked 1", "BtnClicked 2"}), parent.Take());
  EXPECT_EQ(0, first.GetCheck());
  EXPECT_EQ(1, second.GetCheck());
  Click(first);
  EXPECT_EQ((Texts{"BtnClicked 2", "BtnClicked 1"}), parent.Take());
  first.SetCheck(1);
  EXPECT_EQ(Texts(), parent.Take());
}

TEST(RadioBox, ClearingTheCheckedOneIsReportedAndLeavesItChecked) {
  NotifyRecorder parent;
  xRadioBox first(&parent, 1, "First", nullptr);
  xRadioBox second(&parent, 2, "Second", &first);
  ButtonWindow window;
  window.Add(first);
  window.Add(second);
  first.SetCheck(0);
  EXPECT_EQ(Texts{"BtnClicked 1"}, parent.Take());
  EXPECT_EQ(1, first.GetCheck());
  second.SetCheck(0);
  EXPECT_EQ(Texts(), parent.Take());
}

TEST(RadioBox, IsConnectedOnce) {
  NotifyRecorder parent;
  xRadioBox box(&parent, 1, "First", nullptr);
  ButtonWindow window;
  window.Add(box);
  EXPECT_EQ(1U, CountHandlers(box.GetWidget(), &box));
}

}  // namespace
