/* SPDX-License-Identifier: Apache-2.0 */
// The tables of the workload behind one interface: their records are the
// model's rows.
#ifndef TESTS_CRASH_SUBJECTS_H
#define TESTS_CRASH_SUBJECTS_H

#include <memory>

#include "tarnbase/tarn/session.hpp"
#include "tests/crash/model.h"

namespace crash {

// An open table. Failures are thrown.
class Table {
 public:
    virtual ~Table() = default;
    virtual void insert(std::uint32_t number, const Row &row) = 0;
    virtual void update(std::uint32_t number, const Row &row) = 0;
    virtual void erase(std::uint32_t number) = 0;
    // All records, in the order of the table; the count is checked.
    virtual Rows read() const = 0;
    // Prints each of them.
    virtual void print() const = 0;
    virtual kel_table *c_table() const = 0;
};

std::unique_ptr<Table> open_or_create(tarn::session &session, Subject subject);
// Null: there is none.
std::unique_ptr<Table> open_existing(tarn::session &session, Subject subject);

// The extra table, which is made and dropped, and contains nothing.
void make_extra(tarn::session &session);
void drop_extra(tarn::session &session);
bool has_extra(tarn::session &session);

}  // namespace crash

#endif
