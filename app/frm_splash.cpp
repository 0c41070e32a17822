#include "app/frm_splash.h"

#include <wx/button.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "lib/format.h"
#include "lib/gui/icons.h"
#include "lib/gui/text.h"
#include "lib/version.h"

namespace zelkor::app {

namespace {

constexpr int kPicturePixels = 64;
constexpr int kLicenceCharacters = 64;
constexpr int kLicenceLines = 9;

// The MIT licence, as the file LICENSE has it.
constexpr const char* kLicence =
    "Copyright (c) 2026 The Zelkor developers\n"
    "\n"
    "Permission is hereby granted, free of charge, to any person obtaining a copy of this software and associated "
    "documentation files (the \"Software\"), to deal in the Software without restriction, including without "
    "limitation the rights to use, copy, modify, merge, publish, distribute, sublicense, and/or sell copies of the "
    "Software, and to permit persons to whom the Software is furnished to do so, subject to the following "
    "conditions:\n"
    "\n"
    "The above copyright notice and this permission notice shall be included in all copies or substantial portions of "
    "the Software.\n"
    "\n"
    "THE SOFTWARE IS PROVIDED \"AS IS\", WITHOUT WARRANTY OF ANY KIND, EXPRESS OR IMPLIED, INCLUDING BUT NOT LIMITED "
    "TO THE WARRANTIES OF MERCHANTABILITY, FITNESS FOR A PARTICULAR PURPOSE AND NONINFRINGEMENT. IN NO EVENT SHALL THE "
    "AUTHORS OR COPYRIGHT HOLDERS BE LIABLE FOR ANY CLAIM, DAMAGES OR OTHER LIABILITY, WHETHER IN AN ACTION OF "
    "CONTRACT, TORT OR OTHERWISE, ARISING FROM, OUT OF OR IN CONNECTION WITH THE SOFTWARE OR THE USE OR OTHER DEALINGS "
    "IN THE SOFTWARE.";

}  // namespace

frmSplash::frmSplash(wxWindow* parent)
    : wxDialog(parent, wxID_ANY, "About Zelkor!", wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER) {
  SetIcons(lib::ProgramIcons());
  const int gap = FromDIP(12);
  auto* picture = new wxStaticBitmap(this, wxID_ANY, lib::Picture(lib::kProgramIcon, kPicturePixels));
  auto* name = new wxStaticText(this, wxID_ANY, "Zelkor!");
  name->SetFont(name->GetFont().Bold().Scaled(1.6F));
  auto* version =
      new wxStaticText(this, wxID_ANY, lib::ToWx("Version " + lib::FormatTwoDecimals(lib::kProgramVersion / 100.0)));
  version->SetName("Version");
  auto* purpose =
      new wxStaticText(this, wxID_ANY, "Keeps a catalogue of files, and the files, in step with other computers.");
  auto* licence = new wxTextCtrl(this, wxID_ANY, kLicence, wxDefaultPosition, wxDefaultSize,
                                 wxTE_MULTILINE | wxTE_READONLY | wxTE_WORDWRAP);
  licence->SetName("Licence");
  licence->SetInitialSize(wxSize(kLicenceCharacters * GetTextExtent("n").x, kLicenceLines * GetCharHeight()));
  licence->SetInsertionPoint(0);

  auto* texts = new wxBoxSizer(wxVERTICAL);
  texts->Add(name);
  texts->Add(version, wxSizerFlags().Border(wxTOP, gap / 2));
  texts->Add(purpose, wxSizerFlags().Border(wxTOP, gap / 2));
  auto* top = new wxBoxSizer(wxHORIZONTAL);
  top->Add(picture, wxSizerFlags().Border(wxRIGHT, gap));
  top->Add(texts, wxSizerFlags(1));
  auto* all = new wxBoxSizer(wxVERTICAL);
  all->Add(top, wxSizerFlags().Expand().Border(wxALL, gap));
  all->Add(new wxStaticText(this, wxID_ANY, "&Licence:"), wxSizerFlags().Border(wxLEFT | wxRIGHT, gap));
  all->Add(licence, wxSizerFlags(1).Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, gap));
  auto* ok = new wxButton(this, wxID_OK, "&OK");
  all->Add(ok, wxSizerFlags().Right().Border(wxLEFT | wxRIGHT | wxBOTTOM, gap));
  // Escape closes it too.
  SetEscapeId(wxID_OK);
  SetAffirmativeId(wxID_OK);
  ok->SetDefault();
  ok->SetFocus();
  SetSizerAndFit(all);
  CentreOnParent();
}

}  // namespace zelkor::app
