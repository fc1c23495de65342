#ifndef QUORVEX_CLI_PROCESSING_H
#define QUORVEX_CLI_PROCESSING_H

// Runs one audio file through a chain into another, block by block, so memory
// stays the same whatever the file's length.

#include "audio_file.h"

#include <quorvex/chain.h>

#include <string>

struct ProcessRequest {
    std::string input;
    std::string output;
    FileFormat inputFormat;  // from -t and the raw options; empty type: from the file
    std::string outputType;  // from -t; empty: from the extension
    std::string chain;
    std::string bits;  // empty: follow the chain
    bool quiet = false;
    bool allowTruncated = false;  // process what a cut-short input holds
    bool dither = true;           // when the output holds fewer bits than the source
    bool showProgress = false;
    bool stereo = false;      // a mono source comes out as the chain's two channels
    bool normalize = false;   // scale the chain's output so its peak lands at normLevel
    double normLevel = -0.1;  // dBFS
};

struct ProcessResult {
    quorvex::chain::StreamFormat input;
    quorvex::chain::StreamFormat output;
    std::string outputEncoding;
    std::string chainName;
    long long framesIn = 0;
    double seconds = 0.0;
    long long clippedSamples = 0;
    bool inputTruncated = false;
};

ProcessResult processFile(const ProcessRequest& request);

#endif
