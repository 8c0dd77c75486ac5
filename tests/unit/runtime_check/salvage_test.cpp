// SPDX-License-Identifier: Apache-2.0
// What a salvage saves of damaged stores, and what it reports as lost.
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>

#include "catalogue/catalogue.h"
#include "runtime/catalog/named_entry.h"
#include "runtime/index/node.h"
#include "runtime/log/segment_files.h"
#include "tarnbase/module.h"
#include "tests/unit/runtime_check/crafted_store.h"

namespace tarn::test {
namespace {

using namespace tarnbase::runtime;
using tarnbase::catalogue::Table;

// The texts of a table's records, by the table's key or id.
using Content = std::map<std::string, std::vector<std::string>>;

struct Salvaged {
    std::uint32_t error = 0;
    Content content;
    std::uint64_t records = 0, lost = 0;
    std::string report;
};

Content read(kel_store *store) {
    Content content;
    kel_handle *handle = nullptr;
    require(kel_handle_create(store, 0, &handle));
    for (kel_table *each = kel_store_first_table(store); each != nullptr; each = each->toc_next) {
        const Table *table = tarnbase::catalogue::schema.table_of(*each->descriptor);
        auto &texts = content[each->table_name[0] != '\0' ? each->table_name
                                                          : std::to_string(each->table_id)];
        struct Reader {
            kel_handle *handle;
            const Table *table;
            std::vector<std::string> &texts;
        } reader{handle, table, texts};
        std::uint32_t err = 0;
        table->walk(
            each,
            [](kel_record *record, void *context) -> std::uint32_t {
                auto &self = *static_cast<Reader *>(context);
                std::vector<char> text(1 << 18);
                std::uint32_t error = 0;
                self.table->print(self.handle, KEL_TX_NONE, text.data(), record,
                                  static_cast<std::uint32_t>(text.size()), &error);
                self.texts.emplace_back(text.data());
                return 0;
            },
            &reader, &err);
        EXPECT_EQ(texts.size(), each->record_count);
    }
    kel_handle_destroy(handle);
    return content;
}

class Salvage : public CraftedStore {
 protected:
    Salvage() {
        kel_store *store = nullptr;
        require(kel_store_open(path_.c_str(), &store));
        whole_ = read(store);
        for (const auto &[name, texts] : whole_) records_ += texts.size();
        kel_store_close(store);
    }

    Salvaged salvage() {
        Salvaged result;
        kel_store *store = nullptr;
        const auto report = [](const kel_table *, std::uint64_t records, const char *text,
                               void *context) {
            auto &self = *static_cast<Salvaged *>(context);
            self.lost += records;
            self.report += std::string(text) + "\n";
        };
        result.error =
            kel_store_salvage(path_.c_str(), tarnbase_table_get_vft, report, &result, &store);
        if (result.error != 0) return result;
        result.content = read(store);
        for (const auto &[name, texts] : result.content) result.records += texts.size();
        kel_store_close(store);
        return result;
    }

    // Everything is saved in spite of damage under right checksums.
    void expect_all() {
        write_image();
        const Salvaged found = salvage();
        EXPECT_EQ(found.error, 0U) << kel_error_text();
        EXPECT_EQ(found.content, whole_) << found.report;
        EXPECT_EQ(found.lost, 0U) << found.report;
    }

    // Some of it is saved, and as much is reported as lost.
    Salvaged expect_some() {
        Salvaged found = salvage();
        EXPECT_EQ(found.error, 0U) << kel_error_text();
        EXPECT_NE(found.report, "");
        EXPECT_LE(found.records, records_);
        for (const auto &[name, texts] : found.content) {
            for (const std::string &text : texts) {
                std::size_t known = 0;
                for (const auto &[other, all] : whole_) {
                    known += static_cast<std::size_t>(std::count(all.begin(), all.end(), text));
                }
                EXPECT_NE(known, 0U) << name << " has a record that the store had not:\n" << text;
            }
        }
        return found;
    }

    void damage(std::uint64_t offset, std::size_t length) {
        std::fstream file(checkpoint_, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(head_.image_offset + offset));
        const std::string bytes(length, '\x5a');
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    // The first record of the first table.
    kel_record *record() {
        const auto *node = image().at<Node>(image().table().index_root);
        return reinterpret_cast<kel_record *>(reinterpret_cast<char *>(const_cast<Node *>(node)) -
                                              offsetof(kel_record, index_node));
    }
    std::uint64_t page_count() const { return bytes_.size() / page_size; }

    Content whole_;
    std::uint64_t records_ = 0;
};

TEST_F(Salvage, OfASoundStoreSavesEverythingAndReportsNothing) {
    const Salvaged found = salvage();
    EXPECT_EQ(found.error, 0U) << kel_error_text();
    EXPECT_EQ(found.content, whole_);
    EXPECT_EQ(found.report, "");
    EXPECT_GT(records_, 30U);
}

TEST_F(Salvage, ChangesNoFile) {
    damage(3 * page_size + 1000, 100);
    std::map<std::string, std::string> before, after;
    const auto contents = [&](std::map<std::string, std::string> &all) {
        for (const auto &entry : std::filesystem::directory_iterator(path_)) {
            std::ifstream file(entry.path(), std::ios::binary);
            all[entry.path().filename()] =
                std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
    };
    contents(before);
    salvage();
    contents(after);
    EXPECT_EQ(before, after);
}

TEST_F(Salvage, FollowsNoTree) {
    image().table().index_root = reinterpret_cast<void *>(base_ + 64);
    expect_all();
}

TEST_F(Salvage, FindsTheRecordsThatATreeHasLost) {
    image().at<Node>(image().table().index_root)->child[before] = nullptr;
    expect_all();
}

TEST_F(Salvage, FindsTheTablesThatTheListHasLost) {
    image().header().tables.first = nullptr;
    write_image();
    const Salvaged found = salvage();
    EXPECT_EQ(found.records, records_);
    for (const auto &[name, texts] : whole_) {
        if (texts.empty()) continue;
        EXPECT_EQ(found.content.at(name), texts);
    }
}

TEST_F(Salvage, FindsTheNamesThatTheKeyedStoreHasLost) {
    image().header().keys = nullptr;
    expect_all();
}

TEST_F(Salvage, TakesTheNameOfADamagedTableFromItsKey) {
    const std::string name = image().table().table_name;
    std::memset(&image().table(), 0, sizeof(kel_table));
    image().header().tables.first = nullptr;
    write_image();
    EXPECT_EQ(salvage().content.at(name), whole_.at(name));
}

TEST_F(Salvage, NamesATableWhoseNameIsLostAfterItsPlace) {
    const std::string name = image().table().table_name;
    const auto *table = image().header().tables.first;
    const std::string place =
        "salvaged-" + std::to_string(reinterpret_cast<std::uint64_t>(table) - base_);
    std::memset(image().table().table_name, 'x', sizeof image().table().table_name);
    for (std::uint64_t at = 0; at + sizeof(NamedEntry) <= bytes_.size(); at += 16) {
        auto *entry = reinterpret_cast<NamedEntry *>(&bytes_[at]);
        const auto name_of_it = reinterpret_cast<const char *>(base_ + at + sizeof(NamedEntry));
        if (entry->name == name_of_it && entry->value == table) entry->value = nullptr;
    }
    write_image();
    const Salvaged found = salvage();
    EXPECT_EQ(found.records, records_) << found.report;
    EXPECT_EQ(found.content.at(place + name.substr(name.rfind('/'))), whole_.at(name));
}

TEST_F(Salvage, GivesObjectsTheirTypesBackIfTheTypeMapIsLost) {
    image().header().types = nullptr;
    expect_all();
}

TEST_F(Salvage, GivesObjectsTheirTypesBackIfTheCopiesAreLost) {
    image().header().types = nullptr;
    for (std::uint64_t at = 0; at + sizeof(kel_type_info) <= bytes_.size(); at += 16) {
        auto *info = reinterpret_cast<kel_type_info *>(&bytes_[at]);
        if (info->magic == KEL_TYPE_INFO_MAGIC) std::memset(info, 0, sizeof *info);
    }
    write_image();
    const Salvaged found = salvage();
    // Nothing says what the three records of a table without a name are.
    EXPECT_EQ(found.records, records_ - 3) << found.report;
    EXPECT_EQ(found.lost, 3U) << found.report;
    EXPECT_NE(found.report.find("a table of an unknown type"), std::string::npos) << found.report;
}

TEST_F(Salvage, FindsTextsThatTheirMapHasLost) {
    image().header().texts = {};
    expect_all();
}

TEST_F(Salvage, TakesNoBucketsOfALostMapForARecord) {
    MapRoot &texts = image().header().texts;
    auto *like = reinterpret_cast<kel_record *>(
        &bytes_[reinterpret_cast<std::uintptr_t>(texts.top) - base_]);
    like->table = record()->table;
    like->index_node = record()->index_node;
    texts = {};
    expect_all();
}

TEST_F(Salvage, KeepsTheValuesOfObjectsWhoseStatesAreLost) {
    image().header().object_data.bucket_count = 3;
    write_image();
    const Salvaged found = salvage();
    EXPECT_EQ(found.records, records_) << found.report;
    EXPECT_NE(found.report.find("the state flags of "), std::string::npos) << found.report;
}

TEST_F(Salvage, NeedsNoHeaderAndNoPageSets) {
    std::memset(bytes_.data(), 0, page_size);
    write_image();
    const Salvaged found = salvage();
    EXPECT_EQ(found.records, records_) << found.report;
}

TEST_F(Salvage, LosesARecordWithoutItsObject) {
    record()->object = reinterpret_cast<void *>(base_ + 12345);
    write_image();
    const Salvaged found = expect_some();
    EXPECT_EQ(found.records, records_ - 1);
    EXPECT_EQ(found.lost, 1U);
    EXPECT_NE(found.report.find("its object is lost"), std::string::npos) << found.report;
}

TEST_F(Salvage, LosesARecordOfAPageThatIsNoneAnyMore) {
    const std::uint64_t page = image().offset_of(record()) / page_size * page_size;
    std::memset(&bytes_[page], 0, sizeof(Page));
    write_image();
    const Salvaged found = expect_some();
    EXPECT_LT(found.records, records_);
    EXPECT_EQ(found.records + found.lost, records_) << found.report;
    EXPECT_NE(found.report.find("records can't be found"), std::string::npos) << found.report;
}

TEST_F(Salvage, PutsAWrongBitRight) {
    for (const std::uint64_t offset : {std::uint64_t{0}, page_size - 1, 5 * page_size + 777}) {
        flip(checkpoint_, head_.image_offset + offset);
        const Salvaged found = salvage();
        EXPECT_EQ(found.content, whole_);
        EXPECT_EQ(found.report, "");
        flip(checkpoint_, head_.image_offset + offset);
    }
}

TEST_F(Salvage, TakesNoValueFromADamagedPage) {
    std::uint64_t most = 0;
    for (std::uint64_t page = 0; page < page_count(); ++page) {
        write_image();
        damage(page * page_size + 200, 64);
        damage(page * page_size + 9000, 3000);
        const Salvaged found = expect_some();
        EXPECT_NE(found.report.find("page " + std::to_string(page) + " doesn't match"),
                  std::string::npos);
        most = std::max(most, found.records);
    }
    EXPECT_EQ(most, records_);
}

TEST_F(Salvage, NeedsNoControlFile) {
    std::filesystem::remove(path_ / "control");
    const Salvaged found = salvage();
    EXPECT_EQ(found.content, whole_);
    EXPECT_NE(found.report.find("control"), std::string::npos);
}

TEST_F(Salvage, NeedsNoSoundControlFile) {
    flip(path_ / "control", 20);
    const Salvaged found = salvage();
    EXPECT_EQ(found.content, whole_);
    EXPECT_NE(found.report.find("the control file of the store is damaged"), std::string::npos);
}

// Frames that each change the source of one record.
class SalvageLog : public Salvage {
 protected:
    void append_source(std::uint8_t source) {
        const std::uint64_t place = image().offset_of(record()) + offsetof(kel_record, src);
        const char bytes[1] = {static_cast<char>(source)};
        append([&](FrameBuilder &frame) { frame.write(place, bytes); });
    }
    std::uint32_t records_of(std::uint8_t source) {
        kel_store *store = nullptr;
        const auto report = [](const kel_table *, std::uint64_t, const char *text, void *context) {
            *static_cast<std::string *>(context) += text;
        };
        report_.clear();
        require(kel_store_salvage(path_.c_str(), tarnbase_table_get_vft, report, &report_, &store));
        std::uint32_t records = 0;
        for (kel_table *each = kel_store_first_table(store); each != nullptr; each = each->toc_next)
            records += each->src_counts[source];
        kel_store_close(store);
        return records;
    }
    std::filesystem::path segment() const { return path_ / segment_name(head_.segment); }
    std::uint64_t begin() const { return segment_head_bytes + (head_.position - head_.segment); }
    std::string report_;
};

TEST_F(SalvageLog, IsAppliedUpToItsDamage) {
    append_source(77);
    append_source(78);
    EXPECT_EQ(records_of(78), 1U);
    EXPECT_EQ(report_, "");
    flip(segment(), begin() + 40);
    EXPECT_EQ(records_of(77), 1U);
    EXPECT_NE(report_.find("the log: it is damaged at position"), std::string::npos) << report_;
    flip(segment(), begin() + 20);
    EXPECT_EQ(records_of(77) + records_of(78), 0U);
}

TEST_F(SalvageLog, IsAppliedUpToWhereItIsCut) {
    append_source(77);
    append_source(78);
    std::filesystem::resize_file(segment(), begin() + 32 + 8);
    EXPECT_EQ(records_of(77), 1U);
    EXPECT_NE(report_, "");
    std::filesystem::remove(segment());
    EXPECT_EQ(records_of(77), 0U);
    EXPECT_NE(report_.find("can't be read"), std::string::npos) << report_;
}

TEST_F(SalvageLog, IsAppliedToItsEndWithoutAControlFile) {
    append_source(77);
    append_source(78);
    std::filesystem::remove(path_ / "control");
    EXPECT_EQ(records_of(78), 1U);
    EXPECT_EQ(report_.find("the log"), std::string::npos) << report_;
}

TEST_F(SalvageLog, IsUsedWithAnOlderCheckpointIfTheNewestIsDamaged) {
    append_source(77);
    append_source(78);
    CheckpointHead newer = head_;
    newer.position = control_.page().published;
    newer.sequence += 2;
    require(write_checkpoint(folder_.descriptor(), newer, bytes_));
    control_.page().checkpoint = newer.position;
    std::filesystem::resize_file(path_ / checkpoint_name(newer.position), 100);
    EXPECT_EQ(records_of(78), 1U);
    EXPECT_NE(report_.find("the checkpoint can't be used"), std::string::npos) << report_;
}

TEST_F(Salvage, OfNothingFails) {
    std::filesystem::resize_file(checkpoint_, 50);
    EXPECT_EQ(salvage().error, std::uint32_t{EBADMSG});
    std::filesystem::remove(checkpoint_);
    EXPECT_EQ(salvage().error, std::uint32_t{EBADMSG});
    path_ = directory_ / "none";
    EXPECT_EQ(salvage().error, std::uint32_t{ENOENT});
}

}  // namespace
}  // namespace tarn::test
