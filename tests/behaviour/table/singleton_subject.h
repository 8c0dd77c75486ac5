/* SPDX-License-Identifier: Apache-2.0 */
// A singleton table of the library itself, since the tests' schema has none. Nothing in
// the index limits it to one record.
#ifndef TARNBASE_TESTS_BEHAVIOUR_TABLE_SINGLETON_SUBJECT_H
#define TARNBASE_TESTS_BEHAVIOUR_TABLE_SINGLETON_SUBJECT_H

#include "tests/behaviour/table/subject.h"

namespace tarn::test {

// tbl_lum_credentials with keys from 0 to below `keys`.
Subject credentials_subject(std::uint32_t keys);

}  // namespace tarn::test

#endif
