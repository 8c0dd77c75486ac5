/* SPDX-License-Identifier: Apache-2.0 */
#ifndef TARNBASE_TESTS_BEHAVIOUR_FOLLOWER_TEXTS_H
#define TARNBASE_TESTS_BEHAVIOUR_FOLLOWER_TEXTS_H

#include <string>

#include "tarnbase/embedded.h"

namespace tarn::test {

// All records of all tables of a store: printed, marshalled and as XML.
std::string texts_of(kel_store *store);

}  // namespace tarn::test

#endif
