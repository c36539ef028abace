// The base of a settings page in a notebook.
#include "xwidgets/tab_base.h"

xTabBase::xTabBase(xWidget* parent, const char* text, unsigned int id) : xWidget(parent, id) {
  if (text == nullptr) return;
  m_pLabel = std::make_unique<xLabel>(text, 0.5F, 0.5F, nullptr, kNoControlID);
}

int xTabBase::IsShow() { return PageNumber() >= 0 ? -1 : 0; }

int xTabBase::SetActive() {
  const int page = PageNumber();
  // GTK would take a negative number for the last page.
  if (page >= 0) gtk_notebook_set_current_page(GTK_NOTEBOOK(m_pParent->GetWidget()), page);
  return 0;
}

void xTabBase::SetWindowText(const char* text) {
  if (m_pLabel != nullptr) m_pLabel->SetWindowText(text);
}

int xTabBase::PageNumber() const {
  if (m_pParent == nullptr) return -1;
  return gtk_notebook_page_num(GTK_NOTEBOOK(m_pParent->GetWidget()), m_pWidget);
}
