#pragma once
// What lumo list and lumo search share: the library of the data root opened as the window
// opens it (song database, lists.knx and every list), and rows printed as text or JSON lines.

#include <memory>
#include <string>

#include "app/DataFolders.h"
#include "library/Browser.h"

class LibrarySession {
 public:
  LibrarySession();
  ~LibrarySession();  // drops the database without saving: Save says when to write
  bool ok() const { return ok_; }
  CZQBrowser& browser() { return *browser_; }
  // Saves the lists and the song database's changes under the library lock; false names the
  // failure on stderr.
  bool Save(const char* command);

 private:
  bool ok_ = false;
  DataFolders folders_;
  std::unique_ptr<CZQBrowser> browser_;
};

// "  12  128.0  03:35  Am    Artist - Title    /path" or a JSON object, one line.
void PrintRow(int number, const TZQListElement& row, bool json);
