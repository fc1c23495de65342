#ifndef QUORVEX_PCM_PCMCONVERSION_H
#define QUORVEX_PCM_PCMCONVERSION_H

// Interleaved integer PCM (see PcmSamples.h) to doubles and back, as the
// integer adapter converts it. The block forms work in vector lanes; every
// sample comes out as its per-sample form gives it.

namespace pcm {

// Scaled by 2^-15 for 16 bits; 24 bits (placed in bits 8-31) and 32 bits by
// 2^-31.
double sampleToDouble(int bits, const unsigned char* in);

// Scaled by 32768 (clamped), 8388607 (wrapping to the low 24 bits) or 2^31
// (clamped) and truncated toward zero; NaN gives 0.
void sampleFromDouble(int bits, double x, unsigned char* out);

// `n` samples at a depth of 16, 24 or 32 bits; any other depth writes nothing.
void toDoubles(int bits, const unsigned char* in, double* x, int n);
void fromDoubles(int bits, const double* x, unsigned char* out, int n);

}  // namespace pcm

#endif
