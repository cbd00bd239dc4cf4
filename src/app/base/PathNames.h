#pragma once
// The parts of a file path the program names things by: its file name, its folder, its
// extension and the bare title a song without tags is shown by. Paths are '/'-separated byte
// strings; nothing here touches the disk.

#include <string>
#include <string_view>

// "/music/a b.mp3" gives "a b.mp3"; a path without a folder is its own file name.
std::string FileNameOf(std::string_view path);
// The folder with its trailing slash ("/music/"); whenNone for a path without a folder.
std::string FolderPartOf(std::string_view path, std::string_view whenNone = "");
// The extension after the file name's last dot, in lower case, without the dot; "" for none.
std::string LowerExtensionOf(std::string_view path);
// The file name without its extension: "Intro.mp3" gives "Intro", ".hidden" stays whole.
std::string TitleFromFileName(std::string_view path);
