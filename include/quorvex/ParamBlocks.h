#ifndef QUORVEX_PARAMBLOCKS_H
#define QUORVEX_PARAMBLOCKS_H

// The parameter blocks of every filter, field by field: identifier, magic,
// size, byte offsets, the values a field takes and its accepted range. A
// block is raw bytes at any alignment, native little-endian, so hosts write
// fields with memcpy at these offsets; the surround's block is also the
// plain record SurroundConfigParams.
//
//   unsigned char block[quorvex::alc_block::kSize];
//   alc.getParamData(quorvex::alc_block::kId, block, sizeof block);
//   const int32_t sample = quorvex::alc_block::kModeSample;
//   std::memcpy(block + quorvex::alc_block::kMode, &sample, sizeof sample);
//   alc.setParamData(quorvex::alc_block::kId, block, sizeof block);

#include <cstdint>

namespace quorvex {

// Every effect's block carries its enabled byte right after the magic.
inline constexpr int kMagicOffset = 0;
inline constexpr int kEnabledOffset = 4;

// Level control (ALCFilter), pALC / mAL1.
namespace alc_block {
inline constexpr unsigned long kId = 0x70414C43;
inline constexpr uint32_t kMagic = 0x6D414C31;
inline constexpr int kSize = 20;
inline constexpr int kEnabled = kEnabledOffset;  // byte
inline constexpr int kFlag = 5;                  // byte, carried only
inline constexpr int kMode = 8;                  // int32
inline constexpr int kRecovery = 12;             // double, gain regained per input double
inline constexpr int32_t kModeSample = 1;        // each sample limited on its own
inline constexpr int32_t kModeLinked = 2;        // one gain per frame, recovering at block ends
inline constexpr double kRecoveryMin = 0.0;
inline constexpr double kRecoveryMax = 1.0;
inline constexpr double kDefaultRecovery = 0.01 / 65536.0;
}  // namespace alc_block

// Graphic equalizer (EqualizerFilter), pEUQ / mEp2. The last three bytes of
// the 92 are neither stored nor written back.
namespace equalizer_block {
inline constexpr unsigned long kId = 0x70455551;
inline constexpr uint32_t kMagic = 0x6D457032;
inline constexpr int kSize = 92;
inline constexpr int kStoredBytes = 89;
inline constexpr int kEnabled = kEnabledOffset;  // byte
inline constexpr int kGain = 8;                  // double[kBands], band 0 first
inline constexpr int kReserved = 88;             // byte, carried only
inline constexpr int kBands = 10;
inline constexpr int kLowRateBands = 7;   // bands from here on act at 88.2 and 96 kHz only
inline constexpr double kGainMin = -1.0;  // -12 dB
inline constexpr double kGainMax = 1.0;   // +12 dB
inline constexpr double kDecibelsPerGain = 12.0;
// Byte offset of one band's gain.
constexpr int gainOffset(int band) { return kGain + 8 * band; }
}  // namespace equalizer_block

// The coefficient set of the headphone equalizer and the personalizer: six
// doubles, (b0 + b1 z^-1 + b2 z^-2) / (1 - a1 z^-1 - a2 z^-2); a0 is carried
// but never used.
namespace coefficient_set {
inline constexpr int kSize = 48;
inline constexpr int kA0 = 0;
inline constexpr int kA1 = 8;
inline constexpr int kA2 = 16;
inline constexpr int kB0 = 24;
inline constexpr int kB1 = 32;
inline constexpr int kB2 = 40;
inline constexpr int kDoubles = 6;
inline constexpr double kLimit = 1000.0;  // every coefficient lies in [-kLimit, kLimit]
}  // namespace coefficient_set

// Headphone equalizer (HPEQFilter), pPAC / mPA1: the record
// PhoneAdaptationConfigParams.
namespace hpeq_block {
inline constexpr unsigned long kId = 0x70504143;
inline constexpr uint32_t kMagic = 0x6D504131;
inline constexpr int kSize = 152;
inline constexpr int kEnabled = kEnabledOffset;  // byte
inline constexpr int kSections = 8;              // coefficient_set[kSectionCount]
inline constexpr int kSectionCount = 3;
constexpr int sectionOffset(int section) { return kSections + coefficient_set::kSize * section; }
}  // namespace hpeq_block

// Personalizer (PersonalizeFilter), pUAC / mUa1.
namespace personalizer_block {
inline constexpr unsigned long kId = 0x70554143;
inline constexpr uint32_t kMagic = 0x6D556131;
inline constexpr int kSize = 104;
inline constexpr int kEnabled = kEnabledOffset;  // byte
inline constexpr int kLeft = 8;                  // coefficient set of the left channel
inline constexpr int kRight = 56;                // coefficient set of the right channel
}  // namespace personalizer_block

// Surround (SurroundFilter), pSRR / mSR5: the record SurroundConfigParams.
namespace surround_block {
inline constexpr unsigned long kId = 0x70535252;
inline constexpr uint32_t kMagic = 0x6D535235;
inline constexpr int kSize = 112;
// Stage bits of emode, in the order the stages run.
inline constexpr int32_t kHall = 0x01;
inline constexpr int32_t kNatural = 0x02;
inline constexpr int32_t kLive = 0x04;
inline constexpr int32_t kWide = 0x08;
inline constexpr int32_t kEcho = 0x10;
inline constexpr int32_t k3d = 0x20;
inline constexpr double kGainMin = 0.0;
inline constexpr double kGainMax = 1.0;
// Hall all-pass lengths in samples at 88.2/96 kHz: each maximum is twice
// the default.
inline constexpr int32_t kHallLengthMin = 17;
inline constexpr int32_t kHallM1Max = 8456;
inline constexpr int32_t kHallM2Max = 7708;
inline constexpr int32_t kHallM3Max = 5460;
}  // namespace surround_block

// Up-sampling enhancer (UpSamplingFilter), pVLC / mVLC ... CLVm.
namespace velmo_block {
inline constexpr unsigned long kId = 0x70564C43;
inline constexpr uint32_t kMagic = 0x6D564C43;
inline constexpr uint32_t kEndMagic = 0x434C566D;  // the magic's bytes reversed
inline constexpr int kSize = 20;
inline constexpr int kBlockSize = 4;  // uint32, must hold kSize
inline constexpr int kEnabled = 8;    // byte: 0 interpolates, else enhances
inline constexpr int kMp3Source = 9;  // byte: 0 CD kernels, else MP3 kernels
inline constexpr int kReserved = 10;  // two bytes, stored only along with a change
inline constexpr int kMode = 12;      // int32
inline constexpr int kEndMagicOffset = 16;
inline constexpr int32_t kModeSuper = 1;  // a rising treble shelf
inline constexpr int32_t kModeFine = 2;   // a treble peak near 18 kHz
inline constexpr int kOutputBits = 24;
}  // namespace velmo_block

}  // namespace quorvex

#endif
