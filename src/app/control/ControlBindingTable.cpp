// The binding tables: which engine call each catalogue control makes.
#include "app/control/ControlBindings.h"

namespace {
using C = EngineCommand;

ButtonBinding Press(const char* control, C press, int arg = 0) {
  ButtonBinding b{control};
  b.press = press;
  b.arg = arg;
  return b;
}
ButtonBinding Hold(const char* control, C press, C release, int arg = 0) {
  ButtonBinding b = Press(control, press, arg);
  b.release = release;
  return b;
}
ButtonBinding Switch(const char* control, C press, int arg, const char* notify) {
  ButtonBinding b = Press(control, press, arg);
  b.isSwitch = true;
  b.notify = notify;
  return b;
}
}  // namespace

const std::vector<ButtonBinding>& ButtonBindings() {
  static const std::vector<ButtonBinding> table = [] {
    std::vector<ButtonBinding> t = {
        Press("deck_play_pause", C::kPlayPause),
        Press("deck_setcue", C::kSetCue),
        Hold("deck_cue", C::kCuePress, C::kCueRelease),
        Press("deck_cue_play", C::kCuePlay),
        Hold("deck_rev", C::kSearchStart, C::kSearchStop, -1),
        Hold("deck_fwd", C::kSearchStart, C::kSearchStop, 1),
        Hold("deck_search_left", C::kSearchStart, C::kSearchStop, -1),
        Hold("deck_search_right", C::kSearchStart, C::kSearchStop, 1),
        Hold("deck_unload", kNoCommand, C::kUnload),
        Press("deck_back_to_top", C::kBackToTop),
        Press("deck_loop_in_end", C::kLoopInOut),
        Press("deck_loop_out", C::kLoopExit),
        Press("deck_loop_reloop", C::kLoopReloop),
        Press("deck_loop_less", C::kLoopHalve),
        Press("deck_loop_more", C::kLoopDouble),
        Press("deck_loop_prev", C::kLoopShift, -1),
        Press("deck_loop_next", C::kLoopShift, 1),
        Press("deck_loop_sixteenth", C::kBeatLoop, 4),
        Press("deck_loop_eighth", C::kBeatLoop, 8),
        Press("deck_loop_quarter", C::kBeatLoop, 16),
        Press("deck_loop_half", C::kBeatLoop, 32),
        Press("deck_loop_1", C::kBeatLoop, 64),
        Press("deck_loop_2", C::kBeatLoop, 128),
        Press("deck_loop_4", C::kBeatLoop, 256),
        Press("deck_loop_8", C::kBeatLoop, 512),
        Press("deck_loop_16", C::kBeatLoop, 1024),
        Press("deck_loop_32", C::kBeatLoop, 2048),
        Hold("deck_bend_down", C::kBendStart, C::kBendStop, -1),
        Hold("deck_bend_up", C::kBendStart, C::kBendStop, 1),
        Press("deck_skip_beat_prev", C::kSkipBeats, -1),
        Press("deck_skip_beat", C::kSkipBeats, 1),
        Press("deck_skip_bar_prev", C::kSkipBeats, -4),
        Press("deck_skip_bar", C::kSkipBeats, 4),
        Switch("deck_key_lock", C::kKeyLock, 0, "keyLock"),
        Switch("deck_reverse", C::kReverse, 0, "reverse"),
        Switch("deck_loop_song", C::kLoopSong, 0, nullptr),
        Switch("deck_analogin", C::kAnalogIn, 0, nullptr),
        Switch("deck_cuepos_clear", C::kCueClearMode, 0, nullptr),
        Hold("deck_cue_in", C::kHotCue, C::kHotCueRelease, 10),
        Hold("deck_cue_out", C::kHotCue, C::kHotCueRelease, 11),
        Switch("deck_brake", C::kBrake, 0, "brake"),
        Switch("deck_monitor", C::kMonitor, 0, "monitor"),
        Press("deck_scratch", C::kScratchArm),
        Switch("talkover", C::kTalkOver, 0, "talkOver"),
        Switch("onair", C::kMicOn, 0, "onAir"),
        Switch("mic_kill_low", C::kMicKill, 1, "micKillLow"),
        Switch("mic_kill_mid", C::kMicKill, 2, "micKillMid"),
        Switch("mic_kill_high", C::kMicKill, 3, "micKillHigh"),
        Press("deck_sync", C::kBeatSync),
        Press("deck_match", C::kMatchTempo),
        Press("deck_sync_to_a", C::kSyncTo, 0),
        Press("deck_sync_to_b", C::kSyncTo, 1),
        Switch("limiter", C::kLimiter, 0, nullptr),
        Switch("autodj", C::kAutoMix, 0, "autoDj"),
        Press("autodj_next", C::kAutoMixNext),
        Press("autodj_to_left", C::kAutoMixTowards, -1),
        Press("autodj_to_right", C::kAutoMixTowards, 1),
    };
    const char* kills[][2] = {{"deck_kill_low", "killLow"}, {"deck_kill_mid", "killMid"}, {"deck_kill_high", "killHigh"}};
    for (int band = 0; band < 3; ++band) {
      ButtonBinding b = Switch(kills[band][0], C::kKill, band + 1, kills[band][1]);
      b.alsoRightButton = true;
      t.push_back(b);
    }
    // Effect places of the built-in effects (see effects/BuiltInEffects.h).
    const struct { const char* control; int place; const char* notify; } effects[] = {
        {"deck_fx_pan", 1, "fxPan"},       {"deck_fx_flanger", 4, "fxFlanger"}, {"deck_fx_phaser", 10, "fxPhaser"},
        {"deck_fx_reverb", 8, "fxReverb"}, {"deck_fx_echo", 9, "fxEcho"},       {"deck_fx_delay", 7, "fxDelay"},
        {"deck_fx_beatwaw", 0, "fxBeatwaw"}};
    for (const auto& e : effects) t.push_back(Switch(e.control, C::kEffectOn, e.place, e.notify));
    static const char* const kCuePositions[] = {"deck_cuepos_1", "deck_cuepos_2", "deck_cuepos_3", "deck_cuepos_4",
                                                "deck_cuepos_5", "deck_cuepos_6", "deck_cuepos_7", "deck_cuepos_8",
                                                "deck_cuepos_9", "deck_cuepos_10"};
    for (int n = 0; n < 10; ++n) t.push_back(Hold(kCuePositions[n], C::kHotCue, C::kHotCueRelease, n + 1));
    ButtonBinding split = Hold("phones_split", C::kSplitCue, C::kSplitCue);
    split.pressValue = 1, split.releaseValue = 0;
    t.push_back(split);
    return t;
  }();
  return table;
}

const std::vector<SliderBinding>& SliderBindings() {
  static const std::vector<SliderBinding> table = [] {
    std::vector<SliderBinding> t = {
        {"deck_volume", C::kVolume, 0, 127, 127},
        {"deck_pitch", C::kPitch, -800, 800, 0, 0, false, "deck_pitch_tempo", TextForm::kPitch},
        {"deck_pitch_key", C::kKeyShift, -1200, 1200, 0, 0, false, "deck_pitch_key_label", TextForm::kKeyShift},
        {"deck_pos", C::kSeekPerMille, 0, 1000, 0, 0, true},
        {"deck_eq_low", C::kEqBand, -120, 120, 0, 1, false, "deck_eq_low_val", TextForm::kTenthsDb},
        {"deck_eq_mid", C::kEqBand, -120, 120, 0, 2, false, "deck_eq_mid_val", TextForm::kTenthsDb},
        {"deck_eq_high", C::kEqBand, -120, 120, 0, 3, false, "deck_eq_high_val", TextForm::kTenthsDb},
        {"deck_cutoff_filter", C::kCutoff, -99, 99, 0, 0, false, "deck_cutoff", TextForm::kCutoff},
        {"deck_gain", C::kGain, -120, 120, 0, 0, false, "deck_gain_val", TextForm::kTenthsDb},
        {"crossfader", C::kCrossfader, 0, 127, 64},
        {"cf_curve", C::kCrossfaderCurve, 0, 100, 50, 0, false, "cf_curve_val", TextForm::kPlain},
        {"cue_pfl_mix", C::kCueMix, 0, 127, 0, 0, false, "pfl_mix_val", TextForm::kPlain},
        {"master_gain", C::kMasterGain, -120, 120, 0, 0, false, "master_gain_val", TextForm::kTenthsDb},
        {"monitor_gain", C::kMonitorGain, -120, 120, 0, 0, false, "monitor_gain_val", TextForm::kTenthsDb},
        {"mic_gain", C::kMicGain, -120, 120, 0, 0, false, "mic_gain_val", TextForm::kTenthsDb},
        {"mic_eq_low", C::kMicEqBand, -120, 120, 0, 1, false, "mic_eq_low_val", TextForm::kTenthsDb},
        {"mic_eq_mid", C::kMicEqBand, -120, 120, 0, 2, false, "mic_eq_mid_val", TextForm::kTenthsDb},
        {"mic_eq_high", C::kMicEqBand, -120, 120, 0, 3, false, "mic_eq_high_val", TextForm::kTenthsDb},
    };
    const struct { const char* effect; int place; } effects[] = {{"pan", 1},    {"flanger", 4}, {"phaser", 10},
                                                                 {"reverb", 8}, {"echo", 9},    {"delay", 7},
                                                                 {"beatwaw", 0}};
    // The names outlive the table: they are kept in one static store.
    static std::vector<std::string> names;
    names.reserve(std::size(effects) * 6);
    for (const auto& e : effects) {
      std::string base = std::string("deck_fx_") + e.effect + "_";
      for (const char* part : {"drywet", "param1", "param2"}) {
        names.push_back(base + part);
        const char* control = names.back().c_str();
        names.push_back(base + part + "_val");
        const char* text = names.back().c_str();
        bool dryWet = std::string(part) == "drywet";
        int arg = dryWet ? e.place : e.place * 10 + (part[5] - '1');
        t.push_back({control, dryWet ? C::kEffectDryWet : C::kEffectParam, 0, dryWet ? 1000 : 100, 0, arg, false, text,
                     dryWet ? TextForm::kPerMillePercent : TextForm::kPercent});
      }
    }
    return t;
  }();
  return table;
}

const std::vector<UnboundControl>& UnboundControls() {
  static const std::vector<UnboundControl> table = {
      {"sync_lock", "sync lock not built"},
      {"deck_boost", "channel boost not in the mixer"}, {"deck_mute", "channel mute not in the mixer"},
      {"deck_in_master", "master routing switch not in the mixer"},
      {"deck_slow_bpm", "BPM halving not built"},

      {"deck_timecodein", "timecode not built"},
      {"deck_timecode_relative", "timecode not built"},
      {"fx_add", "effect menu not built"}, {"fx_mic_add", "effect menu not built"},
      {"fx_master_add", "effect menu not built"},
      {"deck_fx_edit1", "user effect chain not built"}, {"deck_fx_edit2", "user effect chain not built"},
      {"deck_fx_edit3", "user effect chain not built"}, {"deck_fx_edit4", "user effect chain not built"},
      {"deck_fx_load1", "user effect chain not built"}, {"deck_fx_load2", "user effect chain not built"},
      {"deck_fx_load3", "user effect chain not built"}, {"deck_fx_load4", "user effect chain not built"},
      {"deck_fx_on1", "user effect chain not built"}, {"deck_fx_on2", "user effect chain not built"},
      {"deck_fx_on3", "user effect chain not built"}, {"deck_fx_on4", "user effect chain not built"},
      {"deck_jw", "jog wheel goes to the sound display's scratch (not built)"},
      {"autodj_more", "Auto-Mix list length not built"}, {"autodj_less", "Auto-Mix list length not built"},
      {"preview", "preview volume not in the mixer"},
      {"cf_audio", "video crossfade not built"}, {"cf_video", "video crossfade not built"},
      {"enable_video", "video not built"}, {"enable_karaoke", "video not built"},
      {"lock_crossfaders", "video not built"},
      {"monitor_gain2", "second output not built"}, {"cue_pgm_mix", "second cue mix not in the mixer"},
      {"learn", "learn mode belongs to the controllers work"},


      {"button_template", "template, never placed"}, {"slider_template", "template, never placed"},
      {"playlist_sel", "list picker not built"},
      {"tarvo_fx_on_1", "console library not built"}, {"tarvo_fx_on_2", "console library not built"},
      {"tarvo_fx_on_3", "console library not built"}, {"tarvo_fx_on_4", "console library not built"},
      {"tarvo_fx_controller_1", "console library not built"}, {"tarvo_fx_controller_2", "console library not built"},
      {"tarvo_fx_controller_3", "console library not built"}, {"tarvo_fx_controller_4", "console library not built"},
      {"tarvo_music", "console library not built"},
      {"tarvo_playlist", "console library not built"}, {"tarvo_hold", "console library not built"},
      {"tarvo_libary", "console library not built"}, {"tarvo_about", "console library not built"},
  };
  return table;
}

const std::vector<UnboundControl>& WindowControlNames() {
  static const std::vector<UnboundControl> table = {
      {"close", "closes the window"},        {"close2", "closes the window"},
      {"minimize", "iconizes the window"},   {"minimize2", "iconizes the window"},
      {"maximize", "toggles full screen"},   {"maximize2", "toggles full screen"},
      {"reload_skin", "reloads the skin"},   {"fx_sel", "shows the deck's effect page"},
      {"fx_mic_sel", "shows the microphone page"}, {"fx_master_sel", "shows the master page"},
      {"fx_samples_sel", "shows the samplers page"},
      {"cfg", "opens the options dialog"},   {"cfg2", "opens the options dialog"},
      {"special_dialog_ok", "answers the skin's dialog"}, {"special_dialog_cancel", "answers the skin's dialog"},
      {"list_tag_edit", "opens the tag editor"}, {"deck_load", "loads the list's selected song"},
      {"search_stop", "empties the search box"}, {"recording", "starts or stops the recorder"},
      {"add", "adds chosen files to the list"},  {"add_dir", "adds a chosen folder to the list"},
      {"list_edit", "renames the user list"},    {"list_delete", "deletes the user list, after asking"},
      {"list_load", "adds a playlist file's songs to the list"},
      {"list_saveas", "saves the list as a new user list"}, {"list_export", "writes the list as an .m3u"},
      {"about", "shows the about box"},          {"about2", "shows the about box"},
      {"tarvo_vol_pitch", "switches the console's volume/pitch mode"},
      {"tarvo_tune_scratch", "switches the console's tune/scratch mode"},
      {"tarvo_info", "turns the console display's page"},
      {"deck_edit_bpm", "opens the BPM dialog"}};
  return table;
}
