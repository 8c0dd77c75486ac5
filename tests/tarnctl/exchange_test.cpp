// SPDX-License-Identifier: Apache-2.0
// Records of all tables, with all kinds of values, are the same to the byte after being written to
// and read from each form of document.
#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <random>
#include <sstream>

#include "compare/comparison.h"
#include "exchange/frames.h"
#include "exchange/importer.h"
#include "exchange/writer.h"
#include "model/json.h"
#include "model/record.h"
#include "model/state.h"
#include "tarnbase/tarn/trace.hpp"
#include "tests/support/temporary_directory.h"

namespace tarnctl {
namespace {

constexpr uint64_t seed = 20240611;
constexpr int records_a_table = 8;

// Makes records with random values.
class Filling {
 public:
    // `for_xml`: only values that XML can represent.
    Filling(const Store &store, bool for_xml) : store_(store), for_xml_(for_xml) {}

    void fill(const Table &table) {
        uint32_t err = 0;
        kel_table *block = table.open(store_.handle(), KEL_TX_NONE, "some", 0, &err);
        ASSERT_EQ(err, 0U);
        for (int i = 0; i < records_a_table; ++i) add_record(table, block);
    }

 private:
    uint64_t draw(uint64_t below) { return random_() % below; }

    void add_record(const Table &table, kel_table *block) {
        Draft draft(store_, KEL_TX_NONE, table);
        RecordHead head;
        head.tenant = static_cast<uint16_t>(draw(3) == 0 ? draw(65536) : 0);
        head.source = static_cast<uint8_t>(draw(3) == 0 ? draw(256) : 1);
        head.tracked = draw(3) == 0;
        const int top = top_variant(*table.type);
        if (top > 0 && draw(2) == 0) head.variant = static_cast<int>(draw(uint64_t(top)));
        draft.begin(head);
        fill_object(draft, draft.make_object(), *table.type);
        if (table.key_type != nullptr) fill_object(draft, draft.make_key_object(), *table.key_type);
        const tarn::tenant_scope tenant(head.tenant);
        uint32_t err = 0;
        table.insert(store_.handle(), KEL_TX_NONE, block, draft.record().record, &err);
        // Two of a key of few values may be drawn.
        if (err == EEXIST) return;
        ASSERT_EQ(err, 0U) << table.name;
        if (draw(4) == 0) draft.record().record->flags |= KEL_RECORD_PENDING_DESTROY;
        draft.release();
    }

    void fill_object(Draft &draft, void *object, const Structure &structure) {
        for (const Path &path : leaves_of(structure)) {
            Value value(draft.handle(), KEL_TX_NONE, object, path);
            if (value.present()) set(value);
            if (value.present() && is_tracked(object) && draw(2) == 0)
                set_state_flag(draft.handle(), KEL_TX_NONE, object, structure, path.text(),
                               static_cast<uint8_t>(draw(256)));
        }
        if (!is_tracked(object)) return;
        const int8_t variant = static_cast<kel_object *>(object)->variant;
        for (const Field &field : structure.fields) {
            if (field.first_variant > variant) continue;
            if (field.structure != nullptr)
                set_state_flag(draft.handle(), KEL_TX_NONE, object, structure,
                               std::string(field.name), 77);
            if (field.elements > 0)
                set_state_flag(
                    draft.handle(), KEL_TX_NONE, object, structure,
                    std::string(field.name) + "[" + std::to_string(field.elements - 1) + "]", 78);
        }
    }

    void set(Value &value) {
        const Field &field = value.field();
        if (field.kind == Kind::vstring) value.set_text(drawn_text());
        else if (field.kind == Kind::address) value.set_text(drawn_address());
        else if (field.kind == Kind::boolean) value.set_number(draw(2));
        else if (field.kind == Kind::enumeration) set_enumeration(value);
        else if (value.is_whole_array())
            for (uint32_t i = 0; i < field.elements; ++i) value.set_number(draw(256), i);
        else value.set_number(drawn_number());
    }

    void set_enumeration(Value &value) {
        const auto &enumerators = value.field().enumeration->enumerators;
        if (!for_xml_ && draw(4) == 0) value.restore_number(static_cast<uint32_t>(draw(1U << 31U)));
        else value.set_number(enumerators[draw(enumerators.size())].value);
    }

    uint64_t drawn_number() {
        const uint64_t choice = draw(4);
        if (choice == 0) return 0;
        return choice == 1 ? ~uint64_t{0} : random_();
    }

    std::string drawn_address() {
        switch (draw(3)) {
            case 0:
                return "";
            case 1:
                return "192.0.2." + std::to_string(draw(256));
            default:
                return "2001:db8::" + std::to_string(1 + draw(9));
        }
    }

    std::string drawn_text() {
        static const std::vector<std::string> pieces = {
            "a", "<&>\"'", "]]>", " ", "\t", "\n", "\r\n", "\xc3\xa9", "\xf0\x9f\x90\x9f", "value"};
        std::string text;
        for (uint64_t i = draw(12); i > 0; --i)
            text += for_xml_ || draw(2) == 0 ? pieces[draw(pieces.size())]
                                             : std::string(1, static_cast<char>(draw(256)));
        return text;
    }

    const Store &store_;
    bool for_xml_;
    std::mt19937_64 random_{seed};
};

std::string exported(const Store &store, Format format, Unfit unfit = {}) {
    std::ostringstream out;
    const auto writer = make_writer(format, out, std::move(unfit));
    for (const Instance &instance : instances(store)) {
        writer->begin_table(instance);
        for_each_record(store, instance, [&](const Record &record) {
            writer->write(record);
            return true;
        });
        writer->end_table();
    }
    writer->end();
    return out.str();
}

// All of the records except for what belongs to the process, in the order of the tables.
std::vector<std::string> contents(const Store &store) {
    std::vector<std::string> all;
    std::string buffer;
    for (const Instance &instance : instances(store))
        for_each_record(store, instance, [&](const Record &record) {
            std::string text = instance.full_name();
            frames::append_number(text, record.tenant(), 2);
            frames::append_number(text, record.src(), 1);
            frames::append_number(text, record.is_pending() ? 1 : 0, 1);
            // After the stamp of the handle that wrote it.
            text += frames::frame_of(record, instance.full_name(), buffer).substr(27);
            all.push_back(text);
            return true;
        });
    return all;
}

class Exchange : public testing::TestWithParam<Format> {
 protected:
    Store made(const std::string &name) { return Store::create(directory_ / name, {}); }

    ImportCounts import(const Store &store, const std::string &document) {
        const std::string path = directory_ / "document";
        tarn::test::write_file(path, document);
        Input input(path);
        tarn::transaction transaction = store.begin();
        Importer importer(store, transaction.id(), {});
        read_document(input, GetParam(), {}, importer);
        transaction.commit();
        return importer.counts();
    }

    tarn::test::TemporaryDirectory directory_;
    tarn::quiet_scope quiet_;
};

// The names of the fields that differ.
std::vector<std::string> differences(const Side &a, const Side &b) {
    std::vector<std::string> names;
    const auto table = [&](const Instance &instance, bool) {
        names.push_back(instance.full_name());
    };
    const auto record = [&](const Change &change) {
        if (!change.fields) names.push_back(change.record().key_text());
        else
            for (const FieldChange &field : *change.fields) names.push_back(field.field);
    };
    const bool differ = compare(a, b, {}, {table, record});
    EXPECT_EQ(differ, !names.empty());
    return names;
}

// Changes a state flag of the first record that has them in each table. Returns the last field's
// name.
std::string change_flags(const Store &store) {
    std::string name;
    for (const Instance &instance : instances(store))
        for_each_record(store, instance, [&](const Record &record) {
            void *object = instance.table->object(store.handle(), KEL_TX_NONE, record.record);
            if (!is_tracked(object)) return true;
            const Structure &type = *instance.table->type;
            name = type.fields.front().name;
            const tarn::tracking_scope scope(store.handle(), tarn::tracking::existing);
            uint32_t err = 0;
            const uint8_t flag =
                type.fields.front().call.state_flag(store.handle(), KEL_TX_NONE, object, &err);
            set_state_flag(store.handle(), KEL_TX_NONE, object, type, name,
                           static_cast<uint8_t>(flag ^ 1U));
            return false;
        });
    return name;
}

TEST_P(Exchange, RoundTripsRecordsOfAllTables) {
    Store first = made("first.store");
    Filling filling(first, GetParam() == Format::xml);
    for (const Table *table : catalogue.tables) {
        SCOPED_TRACE(testing::Message() << table->name << ", seed " << seed);
        filling.fill(*table);
    }
    const std::vector<std::string> before = contents(first);
    ASSERT_GT(before.size(), catalogue.tables.size() * records_a_table / 2);

    const std::string document = exported(first, GetParam());
    Store second = made("second.store");
    const ImportCounts counts = import(second, document);
    EXPECT_EQ(counts.inserted, before.size());
    EXPECT_EQ(counts.made, catalogue.tables.size());
    const std::vector<std::string> after = contents(second);
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t i = 0; i < before.size(); ++i)
        ASSERT_EQ(json_of_bytes(after[i]).dump(), json_of_bytes(before[i]).dump())
            << "record " << i << ", seed " << seed;
    EXPECT_EQ(exported(second, GetParam()), document);

    const Side a{"first", std::move(first), true};
    const Side b{"second", std::move(second), true};
    EXPECT_EQ(differences(a, b), std::vector<std::string>());
    const std::string changed = change_flags(b.store);
    const std::vector<std::string> found = differences(a, b);
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found.back(), "state(" + changed + ")");
}

// A table of this name whose one record has each byte in its key, and a backslash that would begin
// an escape.
void add_all_bytes(const Store &store, const std::string &name) {
    const Table &table = table_named("ldap_conn");
    uint32_t err = 0;
    kel_table *block = table.open(store.handle(), KEL_TX_NONE, name.c_str(), 0, &err);
    ASSERT_EQ(err, 0U);
    std::string bytes = "\\x41\\\\";
    for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    Draft draft(store, KEL_TX_NONE, table);
    draft.begin({});
    Value(draft.handle(), KEL_TX_NONE, draft.make_object(), parse_path(*table.type, "sname"))
        .set_text(bytes);
    table.insert(store.handle(), KEL_TX_NONE, block, draft.record().record, &err);
    ASSERT_EQ(err, 0U);
    draft.release();
}

TEST_P(Exchange, RoundTripsEachByteAndNumber) {
    const Store first = made("first.store");
    Filling filling(first, false);
    for (const Table *table : catalogue.tables) filling.fill(*table);
    add_all_bytes(first, "a\x01\\b");
    const std::string document = exported(first, GetParam(), {true, {}});
    const Store second = made("second.store");
    const std::vector<std::string> before = contents(first);
    EXPECT_EQ(import(second, document).inserted, before.size());
    const std::vector<std::string> after = contents(second);
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t i = 0; i < before.size(); ++i)
        ASSERT_EQ(json_of_bytes(after[i]).dump(), json_of_bytes(before[i]).dump())
            << "record " << i << ", seed " << seed;
}

TEST(XmlExport, SkipsWhatXmlCannotRepresentAndNamesRecordAndField) {
    const tarn::quiet_scope quiet;
    const tarn::test::TemporaryDirectory directory;
    const Store store = Store::create(directory / "net.store", {});
    add_all_bytes(store, "some");
    std::vector<std::string> skipped;
    const std::string document = exported(
        store, Format::xml, {false, [&](const std::string &text) { skipped.push_back(text); }});
    EXPECT_EQ(document.find("<record"), std::string::npos);
    ASSERT_EQ(skipped.size(), 1U);
    EXPECT_EQ(skipped[0].find("tbl_ldap_conn:some: record `"), 0U) << skipped[0];
    EXPECT_NE(
        skipped[0].find("sname: XML can't represent it: the text has the byte 0x00 at offset 6"),
        std::string::npos)
        << skipped[0];
}

TEST_P(Exchange, RoundTripsATableOpenedById) {
    const Store first = made("first.store");
    uint32_t err = 0;
    // Another one each time: a process has the tables of one type by id in one store.
    const Table &table = table_named(GetParam() == Format::xml    ? "tbl_ldap_conn"
                                     : GetParam() == Format::json ? "tbl_ldap_stats"
                                                                  : "tbl_ldap_summary");
    table.open_by_id(first.handle(), KEL_TX_NONE, 7, 0, &err);
    ASSERT_EQ(err, 0U);
    const std::string document = exported(first, GetParam());
    const auto open = instances(first);
    ASSERT_EQ(open.size(), 1U);
    table.free(first.handle(), KEL_TX_NONE, open.front().block, &err);
    ASSERT_TRUE(instances(first).empty());
    import(first, document);
    ASSERT_EQ(instances(first).size(), 1U);
    EXPECT_EQ(instances(first).front().full_name(), std::string(table.name) + "#7");
}

// Every document that ends early, or in which one byte was changed, is either read, or refused with
// the place of the error; then nothing is stored.
TEST_P(Exchange, RefusesBrokenDocumentsAndRollsThemBack) {
    const Store first = made("first.store");
    Filling filling(first, GetParam() == Format::xml);
    for (const char *name : {"tbl_ldap_conn", "tbl_pexSessionEntry_op"})
        filling.fill(table_named(name));
    const std::string document = exported(first, GetParam());
    const Store second = made("second.store");
    std::mt19937_64 random(seed);
    const std::string path = directory_ / "document";
    int refused = 0;
    for (int step = 0; step < 300; ++step) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step);
        std::string broken = document;
        const std::size_t place = random() % document.size();
        if (step % 3 == 0) broken.resize(place);
        else if (step % 3 == 1) broken[place] = static_cast<char>(random());
        else broken.erase(place, 1 + random() % 20);
        tarn::test::write_file(path, broken);
        Input input(path);
        tarn::transaction transaction = second.begin();
        Importer importer(second, transaction.id(), {});
        try {
            read_document(input, GetParam(), {}, importer);
        } catch (const Failure &failure) {
            ++refused;
            EXPECT_EQ(failure.code(), Exit::data) << failure.what();
            EXPECT_TRUE(std::string(failure.what()).starts_with(path + ":")) << failure.what();
        }
        transaction.rollback();
        importer.free_made_tables();
        ASSERT_TRUE(instances(second).empty());
    }
    EXPECT_GT(refused, 100);
    EXPECT_EQ(import(second, document).inserted, contents(first).size());
    EXPECT_EQ(contents(second), contents(first));
}

INSTANTIATE_TEST_SUITE_P(InEachForm, Exchange,
                         testing::Values(Format::xml, Format::json, Format::frames),
                         [](const auto &tested) -> std::string {
                             if (tested.param == Format::xml) return "xml";
                             return tested.param == Format::json ? "json" : "frames";
                         });

}  // namespace
}  // namespace tarnctl
