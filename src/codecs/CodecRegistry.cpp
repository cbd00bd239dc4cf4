#include "codecs/CodecChain.h"
#include "codecs/DecoderAIF.h"
#include "codecs/DecoderAu.h"
#include "codecs/DecoderCda.h"
#include "codecs/DecoderFFMpeg.h"
#include "codecs/DecoderWAV.h"

// The video and CD decoders take their places in this list as they arrive:
// video (decks only, ids below 50), CD audio, WAV, AIFF, AU, then FFmpeg as the catch-all.
void CreateDecoders(int deckId, std::vector<std::unique_ptr<CBaseCodec>>& codecs) {
  auto add = [&](std::unique_ptr<CBaseCodec> codec) {
    if (codecs.size() < CCodecChain::kMaxCodecs) codecs.push_back(std::move(codec));
  };
  add(std::make_unique<CDecoderCda>(deckId));
  add(std::make_unique<CDecoderWAV>(deckId));
  add(std::make_unique<CDecoderAIF>(deckId));
  add(std::make_unique<CDecoderAu>(deckId));
  add(std::make_unique<CDecoderFFMpeg>(deckId));
}
