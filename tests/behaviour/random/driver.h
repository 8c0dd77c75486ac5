/* SPDX-License-Identifier: Apache-2.0 */
// Random operations on two tables of a kind, each compared with the model. Kind, mode, seed
// and whether transactions are begun determine the operations, so the same four repeat a
// failure.
#ifndef TARNBASE_TESTS_BEHAVIOUR_RANDOM_DRIVER_H
#define TARNBASE_TESTS_BEHAVIOUR_RANDOM_DRIVER_H

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/behaviour/random/history.h"
#include "tests/behaviour/random/kind.h"
#include "tests/behaviour/random/model.h"
#include "tests/behaviour/random/random.h"
#include "tests/support/fixture.h"
#include "tests/support/snapshot.h"

namespace tarn::test {

// What lives as long as the process: the store, since a table's root of tables opened by id
// is cached for the process, and the automatic ids.
struct World {
    Session session;
    std::optional<u64> next_id;  // the next automatic id, once one was given
    u64 given_ids = 0;
    u64 given_iors = 0;
};

// The most records alive, which bounds the cost of comparing everything.
constexpr u32 most_records = 150;

struct Run {
    const Kind *kind;
    Mode mode;
    u64 seed;
    u32 steps;
    bool transactions;
};

class Driver {
 public:
    Driver(World &world, const Run &run);
    ~Driver();
    Driver(const Driver &) = delete;
    Driver &operator=(const Driver &) = delete;

    // Takes all steps, then releases everything. Stops at the first failure.
    void go();
    bool failed() const { return failed_; }

 private:
    enum Phase : u32 { growing, steady, shrinking };
    struct Operation {
        const char *name;
        void (Driver::*run)();
        u32 tickets[3];  // by phase: its share of the draws
    };
    static const Operation operations[];

    // driver.cpp: the course of a run
    void step();
    void next_phase();
    const Operation &draw();
    void release_everything();
    void choose_tenant(u16 tenant);
    void choose_any_tenant();
    void choose_handle_of(bool store_types);
    template <typename A, typename B>
    bool same(const A &got, const B &expected, const char *what) {
        if (got == expected) return true;
        std::ostringstream text;
        text << what << " is " << got << ", expected is " << expected;
        fail(text.str());
        return false;
    }
    void fail(const std::string &what);
    // The error of the last operation, and the handle's.
    void expect_error(u32 expected);
    u32 take_cr_error();

    // choices.cpp
    const Operations &form() { return random_.coin() ? s.plain : s.unsafe; }
    const Traversal &names();
    u32 any_table() { return random_.below(table_count); }
    u8 any_source();
    Place any_place();
    u32 pick(bool (*wanted)(const Row &));  // a row that is wanted, or no_row
    u32 pick_inside();
    u32 pick_outside();
    u32 pick_any();

    // tables.cpp: table blocks
    u64 new_ior();
    void open(u32 table);
    void open_by_name(u32 table);
    void open_by_id(u32 table);
    void open_by_auto_id(u32 table);
    void free(u32 table);
    void reopen(u32 table);
    void expect_root_of_ids();
    void mark_for_replication();
    void expect_new_block(u32 table, u32 open_mode, u64 id);

    // records.cpp: records and what is in them
    kel_record *create(u8 src, bool with_objects);
    u32 make(u8 src);
    void fill(const Row &row);
    void set_key(const Row &row);
    void add_ref();
    void destroy(u32 row);
    void destroy_one();
    void set_value();
    void set_text();
    void change_key();
    void replace_object();
    Row read_row(const Row &from);
    void copy_by_wire();
    void read_over();
    void send_key();
    u32 to_wire(const Row &row);
    void expect_content(const Row &row);
    void expect_row(const Row &row);

    // changes.cpp: into the index and out of it
    void insert(u32 row, u32 table);
    void insert_new();
    void insert_again();
    void insert_twice();
    void insert_unmodified();
    bool engine_must_remove(const Row &row);
    void remove(u32 row);
    void remove_one();
    void remove_and_destroy(u32 row);
    void remove_absent();
    void request_destroy();
    void enter_with_error();

    // reads.cpp
    struct KeyRead {
        u32 table;
        kel_table *block;
        Place place;
        Place usual;  // the same of the default source
    };
    struct Step {
        u32 table;
        kel_table *block;
        Place place;
        kel_record *position;
        u8 src;
        bool forward;
    };
    void expect_found(kel_record *record, const Found &expected);
    KeyRead any_key_read();
    void search();
    void search_in_a_mode(const KeyRead &read);
    void search_by_object();
    void step_by_key();
    void take_end();
    void take_end_in_a_mode(u32 table, u8 src, bool first);
    void take_step();
    void take_step_in_a_mode(const Step &step);
    Found neighbour(const Step &step, const Filter &filter);
    void take_neighbour();
    void read_range();
    void count();
    void look_at_one();

    // walks.cpp: the whole of a table
    void walk_a_part();
    void walk_and_remove();
    void check_whole();
    void check_order(u32 table);
    void check_run(u32 table, u16 tenant);
    void check_counts(u32 table);
    void check_usage();

    // transactions.cpp
    void begin_or_end();
    void begin();
    void commit();
    void rollback();
    void expect_bytes_as_before();
    void begin_another();
    void run_out_of_memory();
    void note_reference(const Row &row);
    void note_release(const Row &row);

    World &world_;
    const Run run_;
    const Subject &s;
    Random random_;
    History history_;
    Model model_;
    std::array<kel_handle *, 2> handles_;
    kel_handle *handle_;
    std::vector<std::unique_ptr<Key>> keys_;
    std::vector<u8> wire_;
    u32 tx_ = KEL_TX_NONE;
    u32 err_ = 0;
    u16 tenant_ = 0;
    u32 step_ = 0;
    Phase phase_ = shrinking;
    u32 phase_end_ = 0;
    bool failed_ = false;

    // Counters of the record descriptors when the run began; of the store's copy
    // once a record has it.
    kel_variant_usage usage_before_;
    const kel_type_info *copy_ = nullptr;
    kel_variant_usage copy_usage_before_ = {};

    // Of the open transaction.
    Model model_before_;
    std::optional<StoreSnapshot> bytes_before_;
    std::map<kel_record *, u32> references_kept_;  // an added reference isn't logged,
    std::set<kel_record *> references_logged_;     // until the first release
};

}  // namespace tarn::test

#endif
