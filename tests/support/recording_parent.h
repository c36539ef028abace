// A parent object that writes down the notifications of its controls.
#pragma once

#include <gtk/gtk.h>

#include <string>
#include <vector>

#include "xwidgets/widget.h"

// Every notification becomes one text, such as "Changed 7" or "FocusChange 7 1".
class RecordingParent : public xWidget {
 public:
  RecordingParent() : xWidget(nullptr, kNoControlID) {}

  void OnNofityBtnClicked(unsigned int id) override { Record("BtnClicked", id); }
  void OnNofitySelectChanged(unsigned int id) override { Record("SelectChanged", id); }
  void OnNofityChanged(unsigned int id) override { Record("Changed", id); }
  void OnNofityValueChanged(unsigned int id) override { Record("ValueChanged", id); }
  int OnNofityDrawing(unsigned int id, GdkEventExpose* event) override {
    Record("Drawing", id);
    areas.push_back(event->area);
    return answer;
  }
  int OnNofityFocusChange(unsigned int id, short in) override {
    calls.push_back("FocusChange " + std::to_string(id) + " " + std::to_string(in));
    return answer;
  }

  // The notifications since the last call.
  std::vector<std::string> Take() {
    std::vector<std::string> taken;
    taken.swap(calls);
    return taken;
  }

  std::vector<std::string> calls;
  std::vector<GdkRectangle> areas;  // of the drawing notifications
  int answer = 0;                   // given to notifications with a result

 private:
  void Record(const char* what, unsigned int id) {
    calls.push_back(std::string(what) + " " + std::to_string(id));
  }
};
