#ifndef QUORVEX_QUORVEX_H
#define QUORVEX_QUORVEX_H

// Umbrella header: every class, record and free function a host can use.

#include <quorvex/AFUtil.h>
#include <quorvex/AudioFilter.h>
#include <quorvex/ParamBlocks.h>
#include <quorvex/RealAudioBuffer.h>

#include <quorvex/CompositionFilter.h>
#include <quorvex/DataTypeConversionFilter.h>
#include <quorvex/DebugFilter.h>
#include <quorvex/SimpleUpSamplingFilter.h>

#include <quorvex/ALCFilter.h>
#include <quorvex/EqualizerFilter.h>
#include <quorvex/HPEQFilter.h>
#include <quorvex/PersonalizeFilter.h>
#include <quorvex/SurroundFilter.h>
#include <quorvex/fft.h>

#include <quorvex/CleanResampler.h>
#include <quorvex/DownSamplingFilter.h>
#include <quorvex/ReSamplingFilter.h>
#include <quorvex/UpSamplingFilter.h>
#include <quorvex/Velmo.h>

#endif
