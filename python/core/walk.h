// SPDX-License-Identifier: Apache-2.0
//
// Walks over the records of a table.
#ifndef TARNBASE_PYTHON_WALK_H
#define TARNBASE_PYTHON_WALK_H

#include <cstdint>
#include <memory>
#include <optional>

#include "key.h"
#include "object.h"
#include "table.h"

namespace tarnbase::python {

// A walk in the order of the keys, from `first` and up to `last`, which isn't part of it.
class Walk {
 public:
    Walk(std::shared_ptr<Table> table, Choice choice, PyObject *first, PyObject *last,
         bool backward);
    // None at the end.
    std::optional<Object> next();

 private:
    kel_record *begin(kel_table &block) const;
    kel_record *step(kel_table &block, const kel_record &from) const;
    bool is_over(const kel_record &at) const;

    std::shared_ptr<Table> table_;
    Choice choice_;
    std::uint16_t tenant_ = 0;
    std::optional<KeyObject> first_;
    std::optional<KeyObject> last_;
    bool backward_;
    bool has_ended_ = false;
    std::optional<Object> at_;
};

}  // namespace tarnbase::python

#endif
