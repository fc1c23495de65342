#ifndef QUORVEX_CHAIN_SECTIONS_FILE_H
#define QUORVEX_CHAIN_SECTIONS_FILE_H

// Second-order sections designed elsewhere, read from a text file: one
// section a line as "b0 b1 b2 a0 a1 a2", the filter
// (b0 + b1 z^-1 + b2 z^-2) / (a0 + a1 z^-1 + a2 z^-2), the row layout most
// design tools print. Blank lines and text after '#' are ignored.

#include "registry.h"

#include <string>
#include <vector>

namespace quorvex::chain {

// Throws StreamError naming the file and line for anything that is not a
// section, and when the file holds more than `most` of them.
std::vector<Section> readSections(const std::string& filter, const std::string& path, size_t most);

// The filters that run such sections act at 88.2 and 96 kHz only; throws
// for any other rate.
void requireHighRate(const std::string& filter, const StreamFormat& input);

}  // namespace quorvex::chain

#endif
