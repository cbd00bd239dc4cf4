#include "app/gui/TagEditorDialog.h"

#include <wx/button.h>
#include <wx/combobox.h>
#include <wx/dialog.h>
#include <wx/msgdlg.h>
#include <wx/sizer.h>
#include <wx/statbox.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include <cstdlib>

#include "library/Browser.h"
#include "library/KeyNaming.h"
#include "library/ListElement.h"
#include "library/TagReader.h"
#include "library/TagWriter.h"
#include "skin/SkinnedDialogs.h"

namespace {

wxString Utf8(const std::string& text) { return wxString::FromUTF8(text); }

class TagEditorDialog : public wxDialog {
 public:
  TagEditorDialog(wxWindow* parent, const std::string& path) : wxDialog(parent, wxID_ANY, "Tag info") {
    ZQTagReader reader;
    reader.Open(path, 1);
    auto column = [&reader](int c) {
      std::string text;
      reader.GetColumn(c, text);
      return Utf8(text);
    };
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    auto* fileBox = new wxStaticBoxSizer(wxVERTICAL, this, "Filename");
    fileBox->Add(new wxStaticText(fileBox->GetStaticBox(), wxID_ANY, Utf8(path)), 0, wxALL, 4);
    sizer->Add(fileBox, 0, wxEXPAND | wxALL, 6);

    auto* tagBox = new wxStaticBoxSizer(wxVERTICAL, this, "Tag info");
    auto* grid = new wxFlexGridSizer(2, 4, 8);
    grid->AddGrowableCol(1);
    wxWindow* box = tagBox->GetStaticBox();
    auto field = [&](const char* label, const wxString& value) {
      grid->Add(new wxStaticText(box, wxID_ANY, label), 0, wxALIGN_CENTER_VERTICAL);
      auto* text = new wxTextCtrl(box, wxID_ANY, value, wxDefaultPosition, wxSize(320, -1));
      grid->Add(text, 1, wxEXPAND);
      return text;
    };
    title_ = field("Title", column(kColTitle));
    artist_ = field("Artist", column(kColArtist));
    album_ = field("Album", column(kColAlbum));
    wxArrayString keys;
    keys.Add("");
    for (int k = 1; k <= 24; ++k) keys.Add(Utf8(KeyName(k)));
    grid->Add(new wxStaticText(box, wxID_ANY, "Key"), 0, wxALIGN_CENTER_VERTICAL);
    key_ = new wxComboBox(box, wxID_ANY, column(kColKey), wxDefaultPosition, wxDefaultSize, keys);
    grid->Add(key_, 1, wxEXPAND);
    track_ = field("Track", column(kColTrack));
    year_ = field("Year", column(kColYear));
    genre_ = field("Genre", column(kColGenre));
    comment_ = field("Comment", column(kColComment));
    tagBox->Add(grid, 1, wxEXPAND | wxALL, 4);
    sizer->Add(tagBox, 1, wxEXPAND | wxLEFT | wxRIGHT, 6);

    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    buttons->Add(new wxButton(this, wxID_OK, "Update"), 0, wxALL, 4);
    buttons->Add(new wxButton(this, wxID_CANCEL, "Cancel"), 0, wxALL, 4);
    sizer->Add(buttons, 0, wxALIGN_RIGHT | wxALL, 4);
    SetSizerAndFit(sizer);
  }

  TagEdit Edit() const {
    TagEdit edit;
    edit.title = title_->GetValue().utf8_string();
    edit.artist = artist_->GetValue().utf8_string();
    edit.album = album_->GetValue().utf8_string();
    edit.key = key_->GetValue().utf8_string();
    edit.track = std::atoi(track_->GetValue().utf8_string().c_str());
    edit.year = std::atoi(year_->GetValue().utf8_string().c_str());
    edit.genre = genre_->GetValue().utf8_string();
    edit.comment = comment_->GetValue().utf8_string();
    return edit;
  }

 private:
  wxTextCtrl *title_, *artist_, *album_, *track_, *year_, *genre_, *comment_;
  wxComboBox* key_;
};

}  // namespace

bool ShowTagEditor(wxWindow* parent, const std::string& path, CZQBrowser& browser) {
  TagEditorDialog dialog(parent, path);
  if (dialog.ShowModal() != wxID_OK) return false;
  std::string error;
  if (!WriteTags(path, dialog.Edit(), &error)) {
    ShowSkinnedMessage(parent, "The tags were not written: " + error + ".");
    return false;
  }
  browser.FileRetagged(path);
  return true;
}
