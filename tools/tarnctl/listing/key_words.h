// SPDX-License-Identifier: Apache-2.0
//
// A key as a user writes it on the command line.
#ifndef TARNCTL_LISTING_KEY_WORDS_H
#define TARNCTL_LISTING_KEY_WORDS_H

#include <string>
#include <vector>

#include "base/schema.h"

namespace tarnctl {

// The texts of the key's columns, in the order of the key. A word is FIELD=VALUE (FIELD:hex=00ff
// for a string's bytes) if it begins with the path of a column of the key, or else the value of the
// next column without one. If there are too many or too few, the words unchanged.
std::vector<std::string> key_texts(const Table &table, const std::vector<std::string> &words);

}  // namespace tarnctl

#endif
