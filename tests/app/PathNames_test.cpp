#include "app/base/PathNames.h"

#include <gtest/gtest.h>

// The cases that went wrong in the copies these replace: a dot in a folder name is not an
// extension, a hidden file's leading dot is not one either, and a bare name has no folder.
TEST(PathNames, DotsInFoldersAndHiddenFilesAreNotExtensions) {
  EXPECT_EQ(LowerExtensionOf("/music/v1.2/Intro"), "");
  EXPECT_EQ(LowerExtensionOf("/music/v1.2/Intro.MP3"), "mp3");
  EXPECT_EQ(LowerExtensionOf("/music/.hidden"), "");
  EXPECT_EQ(TitleFromFileName("/music/v1.2/01 Intro.mp3"), "01 Intro");
  EXPECT_EQ(TitleFromFileName("/music/v1.2/Intro"), "Intro");
  EXPECT_EQ(TitleFromFileName(".hidden"), ".hidden");
  EXPECT_EQ(FileNameOf("/music/a b.mp3"), "a b.mp3");
  EXPECT_EQ(FileNameOf("a b.mp3"), "a b.mp3");
  EXPECT_EQ(FolderPartOf("/music/a b.mp3"), "/music/");
  EXPECT_EQ(FolderPartOf("a b.mp3", "./"), "./");
}
