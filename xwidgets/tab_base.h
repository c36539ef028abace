// The base of a settings page in a notebook.
#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "xwidgets/layout.h"
#include "xwidgets/widget.h"

// A page. Its parent is the notebook; the derived class attaches the widget that is the page's
// content, and the notebook calls the handlers.
class xTabBase : public xWidget {
 public:
  // `parent` is an object whose widget is a GtkNotebook, or null. `text` is what stands on the
  // page's tab; null makes a page without label.
  xTabBase(xWidget* parent, const char* text, unsigned int id);

  // The label on the page's tab, or null. Owned by the page.
  virtual xLabel* GetLab() const { return m_pLabel.get(); }

  // -1 while the page's widget is a page of the notebook, else 0.
  virtual int IsShow();

  // Makes this page the notebook's current one. Does nothing for a page that is not in it. Returns
  // 0.
  virtual int SetActive();

  // Changes the text on the page's tab. Does nothing without a label.
  virtual void SetWindowText(const char* text);

  // The settings have been read; called once.
  virtual void OnInitDialog() {}

  // The page became the current one.
  virtual void OnActive() {}

  // The settings are to take effect. 0 refuses and stops the other pages.
  virtual int OnApply() { return -1; }

  // The window closes with its settings in effect.
  virtual void OnOK() {}

  // The controls are to show the settings in effect again.
  virtual void OnReset() {}

  // The window closes without its settings taking effect.
  virtual void OnCancel() {}

  // Returns 3.
  virtual int BeforePrinterChange(const char* /*text*/) { return 3; }

 private:
  // The page's number in the notebook, below 0 when it is not there or there is no notebook.
  int PageNumber() const;

  std::unique_ptr<xLabel> m_pLabel;
};
