/* SPDX-License-Identifier: Apache-2.0 */
// A table of any key kind, used through its exported functions. Keys are numbered
// from 0 to 8: a higher number sorts later.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_TABLED_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_TABLED_H

#include <deque>
#include <string>
#include <vector>

#include "tests/behaviour/every/objects.h"

namespace tarn::test {

// Most operations have a twin of the same behaviour.
inline const std::string twins[] = {"", "_unsafe"};

class EveryTable : public ::testing::TestWithParam<InMode<Table>> {
 protected:
    EveryTable();
    ~EveryTable() override;
    // Destroys all records, frees the table, and counts blocks.
    void TearDown() override;

    // <table>_<operation>, and <table>_<key>_<operation>.
    std::string name(const std::string &operation) const;
    std::string key_name(const std::string &operation) const;
    // Call it with the handle and the transaction as first arguments.
    template <typename R = void>
    R on(const std::string &operation, std::vector<Word> arguments) const {
        arguments.insert(arguments.begin(), {Word(handle), Word(tx)});
        return call<R>(name(operation), arguments);
    }
    template <typename R = void>
    R cr(const std::string &operation, std::vector<Word> arguments) const {
        arguments.insert(arguments.begin(), Word(handle));
        return call<R>(name(operation), arguments);
    }
    kel_record *find(const std::string &operation, std::vector<Word> arguments) {
        arguments.emplace_back(&err);
        return on<kel_record *>(operation, arguments);
    }
    std::string by_key(const std::string &operation) const;

    bool composite() const { return type.key_type != nullptr; }
    const Structure &key_carrier() const { return composite() ? *type.key_type : *type.type; }
    std::string slot(const Structure &of, const std::string &operation) const {
        return std::string(of.name) + "_" + operation;
    }
    void set_key(void *carrier, u32 number) const;
    // The argument of the keyed reads; it lives as long as the test.
    const void *key(u32 number);
    // The argument of the reads by object, likewise.
    void *key_object(u32 number);

    // A record with its objects, and the same inserted.
    kel_record *make(u32 number, u32 src = KEL_SOURCE_DEFAULT);
    kel_record *put(u32 number, u32 src = KEL_SOURCE_DEFAULT);
    void drop(kel_record *record);
    // Expects the values set by make.
    void check(const kel_record *record, u32 number) const;
    std::vector<kel_record *> walk();
    void expect_error(u32 expected) {
        EXPECT_EQ(err, expected);
        err = 0;
    }
    kel_table *open(const char *table_name);
    std::string text(const std::string &operation, const kel_record *record);
    std::vector<u8> frame(const kel_record *record, const std::string &twin = "");

    const TraceCapture trace;
    const Table &type = *GetParam().item;
    Session session{GetParam().mode};
    kel_handle *const handle = session.handle();
    const Typed object{*type.type, handle};
    const u32 tx = KEL_TX_NONE;
    u32 err = 0;
    kel_table *table = nullptr;
    u64 blocks = 0;

 private:
    const Field &ordering_field() const;

    std::deque<u32> numbers_;
    std::deque<Text> texts_;
    std::deque<ip_address> addresses_;
    std::vector<void *> objects_;
};

}  // namespace tarn::test

#endif
