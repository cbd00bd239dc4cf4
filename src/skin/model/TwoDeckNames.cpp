#include "skin/model/TwoDeckNames.h"

#include <string_view>

namespace {

// X of "decka_X" / "deckb_X", which become "deck_X".
const char* const kDeckSuffixes[] = {
    "bpm", "pitch_tempo", "pitch_key_label", "elapsed", "remained", "songname", "cutoff", "fx_name1",
    "fx_name2", "fx_name3", "fx_name4", "eq_low_val", "eq_mid_val", "eq_high_val", "gain_val",
    "in_master", "edit_bpm", "back_to_top", "setcue", "cue", "play_pause", "cue_play", "bend_down",
    "bend_up", "unload", "rev", "fwd", "reset_pitch", "load", "loop_in_end", "loop_out", "loop_prev",
    "loop_next", "loop_less", "loop_more", "loop_half", "loop_1", "loop_2", "loop_4", "loop_8",
    "loop_16", "slow_bpm", "loop_song", "reverse", "brake", "kill_low", "kill_mid", "kill_high",
    "search_left", "search_right", "scratch", "cue1", "cue2", "cue3", "cue4", "cue5", "cue6", "cue7",
    "cue8", "skip_beat", "key_lock", "analogin", "timecodein", "fx_edit1", "fx_edit2", "fx_edit3",
    "fx_edit4", "fx_load1", "fx_load2", "fx_load3", "fx_load4", "fx_on1", "fx_on2", "fx_on3",
    "fx_on4", "fx_pan", "fx_flanger", "fx_phaser", "fx_reverb", "fx_echo", "fx_delay", "fx_beatwaw",
    "cue_in", "cue_out", "cuepos_1", "cuepos_2", "cuepos_3", "cuepos_4", "cuepos_5", "cuepos_clear",
    "playlive", "volume", "pitch", "pitch_key", "pos", "eq_low", "eq_mid", "eq_high", "cutoff_filter",
    "gain", "sync", "monitor", "boost", "mute", "wheel", "jw"};

// X of "label_X_a" / "label_X_b", which become "label_X".
const char* const kLabelWords[] = {
    "loop", "sync", "pitch", "filter", "cue_points", "eqlow", "eqmid", "eqhigh", "gain", "pitchbend",
    "eqlow2", "eqmid2", "eqhigh2", "tarvo_info", "effects", "keylock", "skipbeat", "editbpm",
    "analogin", "reverse", "brake"};

// Whole-name pairs: the a form, the b form, the new name.
struct Pair {
  const char* a;
  const char* b;
  const char* to;
};
const Pair kPairs[] = {
    {"sd_decka", "sd_deckb", "sd_deck"},
    {"dz_decka", "dz_deckb", "dz_deck"},
    {"vm_decka", "vm_deckb", "vm_deck"},
    {"label_decka", "label_deckb", "label_deck"},
    {"fx_a_sel", "fx_b_sel", "fx_sel"},
    {"fx_a_add", "fx_b_add", "fx_add"},
    {"tarvo_fx_on_a_1", "tarvo_fx_on_b_1", "tarvo_fx_on_1"},
    {"tarvo_fx_on_a_2", "tarvo_fx_on_b_2", "tarvo_fx_on_2"},
    {"tarvo_fx_on_a_3", "tarvo_fx_on_b_3", "tarvo_fx_on_3"},
    {"tarvo_fx_on_a_4", "tarvo_fx_on_b_4", "tarvo_fx_on_4"},
    {"tarvo_fx_controller_a_1", "tarvo_fx_controller_b_1", "tarvo_fx_controller_1"},
    {"tarvo_fx_controller_a_2", "tarvo_fx_controller_b_2", "tarvo_fx_controller_2"},
    {"tarvo_fx_controller_a_3", "tarvo_fx_controller_b_3", "tarvo_fx_controller_3"},
    {"tarvo_fx_controller_a_4", "tarvo_fx_controller_b_4", "tarvo_fx_controller_4"},
    {"tarvo_fx_sel_a_1", "tarvo_fx_sel_b_1", "tarvo_fx_sel_1"},
    {"tarvo_fx_sel_a_2", "tarvo_fx_sel_b_2", "tarvo_fx_sel_2"},
    {"tarvo_fx_sel_a_3", "tarvo_fx_sel_b_3", "tarvo_fx_sel_3"},
    {"tarvo_fx_sel_a_4", "tarvo_fx_sel_b_4", "tarvo_fx_sel_4"},
    {"tarvo_vol_pitch_a", "tarvo_vol_pitch_b", "tarvo_vol_pitch"},
    {"tarvo_tune_scratch_a", "tarvo_tune_scratch_b", "tarvo_tune_scratch"},
    {"tarvo_info_a", "tarvo_info_b", "tarvo_info"},
};

}  // namespace

bool TranslateTwoDeckName(const std::string& name, std::string& translated, int& deck) {
  translated = name;
  deck = -1;
  std::string_view view(name);
  if (view.size() > 6 && view.substr(0, 4) == "deck" && (view[4] == 'a' || view[4] == 'b') &&
      view[5] == '_') {
    std::string_view suffix = view.substr(6);
    for (const char* known : kDeckSuffixes) {
      if (suffix == known) {
        translated = "deck_" + std::string(suffix);
        deck = view[4] - 'a';
        return true;
      }
    }
  }
  if (view.size() > 8 && view.substr(0, 6) == "label_" && view[view.size() - 2] == '_' &&
      (view.back() == 'a' || view.back() == 'b')) {
    std::string_view word = view.substr(6, view.size() - 8);
    for (const char* known : kLabelWords) {
      if (word == known) {
        translated = "label_" + std::string(word);
        deck = view.back() - 'a';
        return true;
      }
    }
  }
  for (const Pair& pair : kPairs) {
    if (view == pair.a || view == pair.b) {
      translated = pair.to;
      deck = view == pair.a ? 0 : 1;
      return true;
    }
  }
  return false;
}
