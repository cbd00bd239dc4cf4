#pragma once
// The .knl list file: UTF-8 XML, a <list> root with the list's settings and one <song> per row
// with its column texts by four-letter keys. Loading a .knl never touches the disk or tags per
// row, so a long list comes up at once.

#include <string>

class CZQAbstractList;

// The text SaveToFile writes: every row of the list, filtered or searched or not.
std::string ListFileText(const CZQAbstractList& list, bool withAuxStrings);

// Reads .knl text into the list (rows appended; settings taken). 1 when parsed; otherwise 0,
// with the reason logged under the given path.
int ParseListFileText(const std::string& bytes, CZQAbstractList& list, const std::string& path);

// A list's file name made safe: characters other than letters, digits and "-_.() " dropped.
std::string SafeListFileName(const std::string& name);
