// SPDX-License-Identifier: Apache-2.0
//
// Inserts the records of a document into a store, in one transaction of the caller.
#ifndef TARNCTL_EXCHANGE_IMPORTER_H
#define TARNCTL_EXCHANGE_IMPORTER_H

#include <map>
#include <string>
#include <vector>

#include "exchange/sink.h"
#include "model/instance.h"

namespace tarnctl {

enum class OnConflict { fail, replace, keep };

struct ImportOptions {
    std::vector<TableReference> tables;  // none: all
    OnConflict on_conflict = OnConflict::fail;
    // Called with the error of a record that can't be read, which is then skipped; if it is empty,
    // the first error ends the import.
    std::function<void(const std::string &)> skip;
    // A table that the document names by its id gets the name "#ID" in the store.
    bool ids_as_names = false;
    // Called after each record.
    std::function<void()> advance;
};

struct ImportCounts {
    uint64_t inserted = 0;
    uint64_t replaced = 0;  // of the inserted ones
    uint64_t kept = 0;      // that the store had already and that stayed
    uint64_t skipped = 0;
    uint64_t tables = 0;  // of the document, that were chosen
    uint64_t made = 0;    // of them, those that the store didn't have
};

class Importer : public Sink {
 public:
    Importer(const Store &store, uint32_t tx_id, ImportOptions options);

    void begin_table(const TableHead &head) override;
    void take(const Place &place, const Build &build) override;
    const ImportCounts &counts() const { return counts_; }
    // Removes the tables that were made. Requires: the transaction was rolled back, so that they
    // are empty.
    void free_made_tables();
    // Failure `difference` if the document lacks a chosen table.
    void check_chosen(const std::string &document) const;

 private:
    bool is_chosen(const TableHead &head);
    Instance open(const TableHead &head);
    void insert(Draft &draft);
    // Removes the record with the draft's key. Returns false if that is kept.
    bool remove_present(const Draft &draft);

    const Store &store_;
    uint32_t tx_id_;
    ImportOptions options_;
    std::vector<bool> found_;  // of the chosen tables
    std::vector<Instance> made_;
    Instance current_{};
    std::string current_name_;
    bool skips_table_ = true;
    ImportCounts counts_;
};

}  // namespace tarnctl

#endif
