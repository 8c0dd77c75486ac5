/* SPDX-License-Identifier: Apache-2.0 */
// The process that changes a store at random: every operation that stores something, on all
// tables of the schema.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FOLLOWER_WRITER_H
#define TARNBASE_TESTS_BEHAVIOUR_FOLLOWER_WRITER_H

#include <cstdint>
#include <string>
#include <vector>

#include "frame/schema.h"
#include "tarnbase/embedded.h"
#include "tests/behaviour/follower/population.h"
#include "tests/behaviour/random/random.h"

namespace tarn::test {

class Writer {
 public:
    Writer(std::uint64_t seed, kel_store *store);
    ~Writer();
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;

    // Opens every table and makes objects of every type.
    void prepare();
    // One transaction, or what is changed without one. Everything is published at its end.
    void step();

    // What the last step did, for a failure's text.
    const std::string &history() const { return history_; }

 private:
    using Action = void (Writer::*)();

    // writer.cpp
    void in_transaction();
    void in_two_transactions();
    void outside_of_transactions();
    void change(std::uint32_t most);
    void begin();
    void end(bool is_commit);
    void choose_handle();
    void note(const std::string &what) { history_ += what + "; "; }

    // records.cpp
    void create_record();
    void insert_record();
    void erase_record();
    void release_record();
    void add_reference();
    void replace_object();
    void detach_object();
    void unmarshal_record();
    void read_xml();
    void create_object();
    void destroy_object();
    void map_object();
    void drop_object_reference();
    void *make_object(const tarnbase::catalogue::Structure &type);
    LiveRecord *any_record();
    void set_keys(const LiveRecord &live);

    // fields.cpp
    void change_record();
    void change_object();
    void copy_object();
    void unmarshal_object();
    void change_fields(const tarnbase::catalogue::Structure &type, void *object,
                       std::uint32_t count, const tarnbase::catalogue::Field *except = nullptr);
    void change_field(const tarnbase::catalogue::Structure &type, void *object,
                      const tarnbase::catalogue::Field &field);
    void set_plain(void *object, const tarnbase::catalogue::Field &field);
    void set_text(void *object, const tarnbase::catalogue::Field &field);
    void set_address(void *object, const tarnbase::catalogue::Field &field);
    void set_state(const tarnbase::catalogue::Structure &type, void *object,
                   const tarnbase::catalogue::Field &field);
    void copy_field(const tarnbase::catalogue::Structure &type, void *object,
                    const tarnbase::catalogue::Field &field);
    bool suits_handle(const void *object) const;
    void *other_object(const tarnbase::catalogue::Structure &type, const void *object);

    // tables.cpp
    void open_table();
    void free_table();
    void mark_table();
    void finish_destroys();
    void change_keys();
    void choose_variant();
    OpenTable *table_of(const tarnbase::catalogue::Table &type);

    Random random_;
    kel_store *store_;
    std::vector<kel_handle *> handles_;
    kel_handle *handle_ = nullptr;  // the one in use
    std::uint32_t tx_ = KEL_TX_NONE;
    bool will_roll_back_ = false;
    std::uint32_t err_ = 0;
    Population all_;
    Contents before_;                   // as it was at the transaction's begin
    std::vector<LiveObject> reserved_;  // for a second transaction, one of each type
    std::string history_;
};

}  // namespace tarn::test

#endif
