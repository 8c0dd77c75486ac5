// SPDX-License-Identifier: Apache-2.0
//
// A record that is being read from a document, piece by piece. It is destroyed if a piece is wrong.
#ifndef TARNCTL_EXCHANGE_DRAFT_H
#define TARNCTL_EXCHANGE_DRAFT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "model/record.h"
#include "model/store.h"
#include "tarnbase/tarn/variant.hpp"

namespace tarnctl {

// The properties of a record besides its fields.
struct RecordHead {
    uint16_t tenant = 0;
    uint8_t source = KEL_SOURCE_DEFAULT;
    bool pending = false;
    std::optional<int> variant;  // of the data object; none: the newest
    bool tracked = false;        // the objects have state flags
};

class Draft {
 public:
    Draft(const Store &store, uint32_t tx_id, const Table &table);
    Draft(const Draft &) = delete;
    Draft &operator=(const Draft &) = delete;
    // Destroys the record unless it was released.
    ~Draft();

    const Table &table() const { return table_; }
    kel_handle *handle() const { return handle_; }
    uint32_t tx_id() const { return tx_id_; }

    // Either begin, and then the objects of the record, ...
    void begin(const RecordHead &head);
    void *make_object();
    void *make_key_object();
    // ... or all from a frame, whose length must be that of its header. Failure `data` if it isn't
    // a frame of the table, or can't be read completely; with `lenient` additions of a newer schema
    // may be lost.
    void take_frame(const RecordHead &head, std::string_view frame, bool lenient);

    // Failure `data` unless it was begun and has all objects.
    void check_complete() const;
    const RecordHead &head() const { return head_; }
    Record record() const { return {&table_, handle_, record_}; }
    // Gives up the ownership of the record.
    void release() { record_ = nullptr; }

 private:
    void check_frame(std::string_view frame) const;
    void compare_frame(std::string_view frame) const;

    const Table &table_;
    kel_handle *handle_;
    uint32_t tx_id_;
    RecordHead head_;
    kel_record *record_ = nullptr;
    std::optional<tarn::variant_scope> variant_;
};

}  // namespace tarnctl

#endif
