// SPDX-License-Identifier: Apache-2.0
// Ownership of texts: nothing leaks and nothing is freed twice, whichever strings are
// copied over others, and a rollback restores everything.
#include <cerrno>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/support/snapshot.h"
#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

const std::string long_text = "a text that does not fit in the string itself";
const std::string other_text = "another text that is too long for a string itself";

class TextOwnership : public ValueTest {
 protected:
    void set(kel_vstring *destination, const kel_vstring *source) {
        kel_vstring_set(handle, tx, destination, source, &err);
        EXPECT_EQ(err, 0U);
    }
    void destroy(kel_vstring *string) { kel_vstring_destroy_internal(handle, tx, string, 0); }
    static void copy_bytes(kel_vstring *destination, const kel_vstring *source) {
        std::memcpy(static_cast<void *>(destination), source, sizeof *source);
    }
};

TEST_F(TextOwnership, SettingOneStringFromAnotherMakesTwoIndependentTexts) {
    kel_vstring *a = make_string(long_text);
    kel_vstring *b = make_string();
    set(b, a);
    EXPECT_NE(kel_vstring_bytes(a, nullptr), kel_vstring_bytes(b, nullptr));
    assign(a, other_text);
    EXPECT_EQ(text_of(b), long_text);
    destroy(a);
    EXPECT_EQ(text_of(b), long_text);
}

TEST_F(TextOwnership, ACopiedAndThenSetStringIsIndependentAndFreesItsOldText) {
    for (const std::string &source_text : {std::string("short"), long_text}) {
        for (const std::string &old_text : {std::string(), std::string("old"), other_text}) {
            const std::uint64_t blocks = session.blocks();
            kel_vstring *source = make_string(source_text);
            kel_vstring *destination = make_string(old_text);
            copy_bytes(destination, source);
            set(destination, source);
            EXPECT_EQ(text_of(destination), source_text);
            assign(source, "changed, and again too long for the string");
            EXPECT_EQ(text_of(destination), source_text);
            destroy(source);
            destroy(destination);
            handle->free_hook(handle->arena, tx, source);
            handle->free_hook(handle->arena, tx, destination);
            EXPECT_EQ(session.blocks(), blocks) << source_text << " over " << old_text;
        }
    }
}

TEST_F(TextOwnership, ACopyThatIsNeverSetOwnsNothing) {
    kel_vstring *string = make_string(long_text);
    kel_vstring copy;
    copy_bytes(&copy, string);
    EXPECT_EQ(kel_vstring_compare(&copy, string), 0);
    const std::uint64_t blocks = session.blocks();
    destroy(&copy);
    EXPECT_EQ(session.blocks(), blocks);
    EXPECT_EQ(text_of(string), long_text);
}

TEST_F(TextOwnership, SettingAStringFromItselfDoesNothing) {
    kel_vstring *string = make_string(long_text);
    HookRecorder hooks(handle);
    set(string, string);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(text_of(string), long_text);
}

TEST_F(TextOwnership, SettingAStringFromACopyOfItselfKeepsTheText) {
    kel_vstring *string = make_string(long_text);
    kel_vstring copy;
    copy_bytes(&copy, string);
    set(string, &copy);
    EXPECT_EQ(text_of(string), long_text);
}

TEST_F(TextOwnership, AStringCanBeAssignedFromAPartOfItsOwnText) {
    kel_vstring *string = make_string(long_text);
    assign(string, {kel_vstring_bytes(string, nullptr) + 2, 30});
    EXPECT_EQ(text_of(string), long_text.substr(2, 30));
    assign(string, {kel_vstring_bytes(string, nullptr) + 5, 12});
    EXPECT_EQ(text_of(string), long_text.substr(7, 12));
    assign(string, {kel_vstring_bytes(string, nullptr) + 1, 4});
    EXPECT_EQ(text_of(string), long_text.substr(8, 4));
}

TEST_F(TextOwnership, AStringCanBeAssignedFromAPartOfItsOwnTextInOtherMemory) {
    handle->alloc_hook = [](void *, std::uint32_t, std::uint64_t size) {
        return std::malloc(size);
    };
    handle->free_hook = [](void *, std::uint32_t, void *block) {
        std::memset(block, 'x', 40);  // no block is shorter
        std::free(block);
    };
    kel_vstring string{};
    kel_vstring_initialize(handle, KEL_TX_NONE, &string, nullptr, 0, 0, 0, nullptr, &err);
    assign(&string, long_text);
    assign(&string, {kel_vstring_bytes(&string, nullptr) + 2, long_text.size() - 2});
    EXPECT_EQ(text_of(&string), long_text.substr(2));
    assign(&string, "");
}

TEST_F(TextOwnership, AssigningTheTextThatAStringHasKeepsItsBlock) {
    kel_vstring *string = make_string(long_text);
    const char *const block = kel_vstring_bytes(string, nullptr);
    assign(string, long_text);
    EXPECT_EQ(kel_vstring_bytes(string, nullptr), block);
    std::string other = long_text;
    other.back() = '!';
    assign(string, other);
    EXPECT_EQ(text_of(string), other);
}

TEST_F(TextOwnership, AssigningTheTextOfACopyGivesTheStringABlockOfItsOwn) {
    kel_vstring *source = make_string(long_text);
    kel_vstring *copy = make_string(other_text);
    copy_bytes(copy, source);
    assign(copy, long_text);
    EXPECT_NE(kel_vstring_bytes(copy, nullptr), kel_vstring_bytes(source, nullptr));
    destroy(source);
    EXPECT_EQ(text_of(copy), long_text);
}

TEST_F(TextOwnership, SettingFromAReferringKeyCopiesTheBytes) {
    std::string bytes = long_text;
    kel_vstring key;
    kel_vstring_refer(&key, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    kel_vstring *string = make_string();
    set(string, &key);
    EXPECT_EQ(string->borrowed, 0U);
    bytes.assign(bytes.size(), '!');
    EXPECT_EQ(text_of(string), long_text);
}

TEST_F(TextOwnership, DestroyingFreesTheTextOnceAndEmptiesTheString) {
    const std::uint64_t before = session.blocks();
    kel_vstring *string = make_string(long_text);
    EXPECT_EQ(session.blocks(), before + 2);
    HookRecorder hooks(handle);
    destroy(string);
    EXPECT_TRUE(hooks.announced(&string->borrowed, 20));
    EXPECT_EQ(hooks.count(Hook::free), 1U);
    EXPECT_EQ(session.blocks(), before + 1);
    EXPECT_EQ(text_of(string), "");
    EXPECT_EQ(string->descriptor, &_kel_vstring_type_info_internal);
    destroy(string);
    EXPECT_EQ(hooks.count(Hook::free), 1U);
    destroy(nullptr);
}

TEST_F(TextOwnership, WithoutMemorySettingFailsWithEnomemAndKeepsTheString) {
    kel_vstring *string = make_string(long_text);
    kel_vstring *source = make_string(other_text);
    const std::uint64_t blocks = session.blocks();
    kel_vstring before;
    copy_bytes(&before, string);
    const auto expect_unchanged = [&] {
        expect_error(ENOMEM);
        EXPECT_EQ(std::memcmp(&before, string, sizeof before), 0);
        EXPECT_EQ(text_of(string), long_text);
        EXPECT_EQ(session.blocks(), blocks);
    };
    kel_store_fail_allocation(session.store(), 1);
    kel_vstring_set(handle, tx, string, source, &err);
    expect_unchanged();
    kel_store_fail_allocation(session.store(), 1);
    kel_vstring_assign_text(handle, tx, string, other_text.c_str(), &err);
    expect_unchanged();
    std::string wire(4 + other_text.size(), '\0');
    kel_vstring_marshal(handle, tx, wire.data(), source, static_cast<std::uint32_t>(wire.size()),
                        &err);
    kel_store_fail_allocation(session.store(), 1);
    EXPECT_EQ(kel_vstring_unmarshal(handle, tx, wire.data(), string,
                                    static_cast<std::uint32_t>(wire.size()), 0, &err),
              0U);
    expect_unchanged();
    const Document document = parse("<f>" + other_text + "</f>");
    kel_store_fail_allocation(session.store(), 1);
    kel_vstring_from_xml(handle, tx, "//f", document.get(), string, &err, nullptr, 0);
    expect_unchanged();
    kel_store_fail_allocation(session.store(), 0);
}

TEST_F(TextOwnership, ARollbackRestoresEveryByteOfTheStore) {
    kel_vstring *a = make_string(long_text);
    kel_vstring *b = make_string(other_text);
    kel_vstring *c = make_string("short");
    const std::uint64_t blocks = session.blocks();
    const StoreSnapshot before(session.store());
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    set(a, b);
    set(c, a);
    handle->write_log_hook(handle->arena, b, sizeof *b, tx);
    copy_bytes(b, c);
    set(b, c);
    assign(a, "tiny");
    destroy(c);
    assign(c, long_text + long_text);
    make_string(other_text + long_text);
    ASSERT_EQ(kel_transaction_rollback(handle, tx), 0U);
    tx = KEL_TX_NONE;
    EXPECT_TRUE(before.changes().empty()) << to_text(before.changes());
    // Ownership is unchanged: both long texts can be freed.
    EXPECT_EQ(session.blocks(), blocks);
    destroy(a);
    destroy(b);
    destroy(c);
    EXPECT_EQ(session.blocks(), blocks - 2);
}

class RandomOwnership : public TextOwnership {
 protected:
    static constexpr unsigned seed = 4711;

    void step() {
        const std::size_t to = random() % strings.size();
        const std::size_t from = random() % strings.size();
        switch (random() % 8) {
            case 0:
            case 1:
                set(strings[to], strings[from]);
                model[to] = model[from];
                break;
            case 2:
                if (to == from) break;
                handle->write_log_hook(handle->arena, strings[to], sizeof(kel_vstring), tx);
                copy_bytes(strings[to], strings[from]);
                set(strings[to], strings[from]);
                model[to] = model[from];
                break;
            case 3:
                destroy(strings[to]);
                model[to].clear();
                break;
            case 4:
                if (random() % 8 == 0) end_and_begin();
                break;
            default:
                model[to].assign(random() % 40, static_cast<char>('a' + random() % 26));
                assign(strings[to], model[to]);
        }
    }
    void end_and_begin() {
        if (random() % 2 == 0) {
            ASSERT_EQ(kel_transaction_commit(handle, tx), 0U);
            committed = model;
        } else {
            ASSERT_EQ(kel_transaction_rollback(handle, tx), 0U);
            model = committed;
        }
        ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    }
    void expect_model() const {
        for (std::size_t i = 0; i < strings.size(); ++i) {
            ASSERT_EQ(text_of(strings[i]), model[i]);
        }
    }

    std::mt19937 random{seed};
    std::vector<kel_vstring *> strings;
    std::vector<std::string> model;
    std::vector<std::string> committed;
};

TEST_F(RandomOwnership, AgreesWithAModelAfterSetsCopiesAndRollbacks) {
    for (int i = 0; i < 12; ++i) strings.push_back(make_string());
    const std::uint64_t blocks = session.blocks();
    committed = model = std::vector<std::string>(strings.size());
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    for (int i = 0; i < 4000; ++i) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(i));
        ASSERT_NO_FATAL_FAILURE(step());
        ASSERT_NO_FATAL_FAILURE(expect_model());
    }
    for (kel_vstring *string : strings) destroy(string);
    ASSERT_EQ(kel_transaction_commit(handle, tx), 0U);
    tx = KEL_TX_NONE;
    EXPECT_EQ(session.blocks(), blocks) << "seed " << seed;
}

}  // namespace
}  // namespace tarn::test
