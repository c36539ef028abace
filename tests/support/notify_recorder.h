// A parent object that writes down the notifications it gets.
#pragma once

#include <string>
#include <vector>

#include "xwidgets/widget.h"

// Every call is one text: the notification's name without "OnNofity", the identifier, and for focus
// changes the direction, for instance "BtnClicked 7" and "FocusChange 3 in".
class NotifyRecorder : public xWidget {
 public:
  explicit NotifyRecorder(xWidget* parent = nullptr) : xWidget(parent, kNoControlID) {}

  void OnNofityBtnClicked(unsigned int id) override { Add("BtnClicked", id); }
  void OnNofitySelectChanged(unsigned int id) override { Add("SelectChanged", id); }
  void OnNofityChanged(unsigned int id) override { Add("Changed", id); }
  void OnNofityValueChanged(unsigned int id) override { Add("ValueChanged", id); }
  int OnNofityDrawing(unsigned int id, GdkEventExpose* event) override {
    Add("Drawing", id);
    m_pDrawingEvent = event;
    return m_iResult;
  }
  int OnNofityFocusChange(unsigned int id, short in) override {
    Add("FocusChange", id);
    m_Calls.back() += in == 1 ? " in" : in == 0 ? " out" : " " + std::to_string(in);
    return m_iResult;
  }

  // What came since the last call of this function.
  std::vector<std::string> Take() {
    std::vector<std::string> calls;
    calls.swap(m_Calls);
    return calls;
  }

  // The result of the notifications that have one.
  int m_iResult = 0;
  // The event of the last drawing notification.
  GdkEventExpose* m_pDrawingEvent = nullptr;

 private:
  void Add(const char* name, unsigned int id) {
    m_Calls.push_back(std::string(name) + " " + std::to_string(id));
  }

  std::vector<std::string> m_Calls;
};
