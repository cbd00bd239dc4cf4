// language.xml is user-editable: loading must survive any bytes and keep tables consistent.
#include <cstddef>
#include <cstdint>

#include "app/Language.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  LanguageTables tables;
  if (LoadLanguageMemory(reinterpret_cast<const char*>(data), size, NumericLanguageKey, tables)) {
    SetLanguage(std::move(tables));
    LangString(40);
    LangLabel(kLanguageMaxKey);
    LangHint(-1);
  }
  return 0;
}
