#pragma once
// The name a song is known by in the song database and the stripe folder: its bare file name
// with the extension ("Track.mp3"), so one song in two folders shares one record.
//
// Every audio CD names its tracks "Track01.cda", "Track02.cda"..., which would give all discs
// one set of records (cue points and tempo of one album showing up on another). A CD track's key
// is therefore prefixed by its disc's CDDB id: "a50e1d0c-Track01.cda". The id of the disc in a
// drive is learnt whenever its table of contents is read (the browser's drive scan, a deck
// opening a track); a track whose disc has not been read yet is read once for its key.
//
// Threads: any thread but the audio thread (a first key for a CD track reads the drive).

#include <string>
#include <string_view>

std::string SongKeyOf(std::string_view path);

// What the drive or image `source` holds now; an empty id forgets it (no disc, disc ejected).
void RememberCdDiscId(const std::string& source, const std::string& discId);
