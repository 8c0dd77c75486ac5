// SPDX-License-Identifier: Apache-2.0
#include "tarnbase/tarn/owned.hpp"

#include "fixture.h"
#include "tarnbase/tarn/types/tag.hpp"

namespace face_test {
namespace {

class Owned : public Face {};

TEST_F(Owned, IsDestroyedWithItsOwner) {
    const std::uint64_t before = blocks(store);
    {
        auto first = tarn::owned<tarn::tag>::make(session);
        first.set_name("a name that doesn't lie in the string itself");
        auto second = std::move(first);
        EXPECT_EQ(second.name(), "a name that doesn't lie in the string itself");
        auto third = tarn::owned<tarn::tag>::make(session);
        third = std::move(second);
        EXPECT_GT(blocks(store), before);
    }
    EXPECT_EQ(blocks(store), before);
}

TEST_F(Owned, ReportsMissingMemory) {
    kel_store_fail_allocation(store.c_store(), 1);
    EXPECT_EQ(thrown_by([&] { tarn::owned<tarn::tag>::make(session); }).code(),
              std::errc::not_enough_memory);
}

TEST_F(Owned, RoundTripsItsForms) {
    auto tag = tarn::owned<tarn::tag>::make(session);
    tag.set_name("a < b");
    tag.set_lamp(tarn::lamp_state::blink);
    tag.point().set_x(-7);

    auto from_wire = tarn::owned<tarn::tag>::make(session);
    from_wire.read_wire(tag.to_wire());
    EXPECT_EQ(from_wire.to_text(), tag.to_text());

    auto from_xml = tarn::owned<tarn::tag>::make(session);
    from_xml.read_xml(tarn::xml_document::parse(tag.to_xml()), "/st_tag");
    EXPECT_EQ(from_xml.to_text(), tag.to_text());
    EXPECT_EQ(from_xml.name(), "a < b");
    EXPECT_EQ(from_xml.point().x(), -7);
}

TEST_F(Owned, ReportsWhatItCannotRead) {
    auto tag = tarn::owned<tarn::tag>::make(session);
    EXPECT_EQ(thrown_by([&] { tag.read_wire(tarn::bytes(3)); }).code(), std::errc::message_size);
    EXPECT_EQ(thrown_by([&] { tag.read_xml(tarn::xml_document::parse("<a/>"), "/st_tag"); }).code(),
              std::errc::no_such_file_or_directory);
}

}  // namespace
}  // namespace face_test
