// SPDX-License-Identifier: Apache-2.0
//
// The changes of one record, in the order of their commits.
#ifndef TARNCTL_WATCH_RECORD_HISTORY_H
#define TARNCTL_WATCH_RECORD_HISTORY_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "edit/change.h"
#include "model/instance.h"
#include "model/record.h"
#include "model/store.h"
#include "tarnbase/tarn/replica.hpp"

namespace tarnctl {

// A record, whether it is there or not.
struct RecordName {
    TableReference table;
    std::vector<std::string> key;  // the texts of its columns
    uint16_t tenant;
    uint8_t source;
};

class RecordHistory {
 public:
    // Begins where the replica, of the store `path`, is. Failures as of Key.
    RecordHistory(tarn::replica replica, const std::string &path, const RecordName &record);

    // The record as it is where the history begins, if it is there.
    std::optional<Change> present();
    // The next change of a field; none if there is none yet. Failure `difference` if transactions
    // are missing, `usage` if the table's name is that of several, else `store`.
    std::optional<Change> next();
    // The last change's.
    const kel_replica_transaction &transaction() const { return replica_.transaction(); }

    const Store &store() const { return store_; }
    std::string key_text() const { return key_.text(); }

 private:
    std::optional<Instance> held() const;
    tarn::replica::step advance(const std::optional<Instance> &instance);
    const kel_replica_change *first_insertion(const Instance &instance) const;
    std::optional<RecordCopy> copy_of(const Instance &instance, const kel_record *record) const;

    RecordName name_;
    tarn::replica replica_;
    Store store_;
    Key key_;
};

}  // namespace tarnctl

#endif
