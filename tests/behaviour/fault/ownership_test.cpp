// SPDX-License-Identifier: Apache-2.0
// Objects share no text, whichever call fails when one is copied over another.
#include <cerrno>

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/fault/environment.h"
#include "tests/support/values.h"

namespace tarn::test {

namespace {

class Ownership : public ModeTest {
 protected:
    st_every *make(u32 set) {
        auto *object = static_cast<st_every *>(kind_every.create(handle, tx));
        kind_every.fill(handle, tx, object, set, &err);
        return object;
    }

    std::string label(st_every *object) {
        u32 nothing = 0;
        return text_of(st_every_label_get(handle, tx, object, &nothing));
    }

    std::string tag_name(st_every *object) {
        u32 nothing = 0;
        return text_of(
            st_tag_name_get(handle, tx, st_every_tag_get(handle, tx, object, &nothing), &nothing));
    }
};

TARN_EACH_MODE(Ownership);

TEST_P(Ownership, ATextThatCannotBeCopiedIsEmptyAndNotTheSources) {
    st_every *source = make(1);
    st_every *object = make(0);
    {
        ServiceRecorder recorder(handle);
        recorder.fail("alloc_hook", 1);
        st_every_set(handle, tx, object, source, &err);
    }
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(label(object), "");
    EXPECT_EQ(label(source), "another label, longer than that");
}

TEST_P(Ownership, TheFieldsAfterAFailedTextGetTheirOwnTexts) {
    st_every *source = make(1);
    st_every *object = make(0);
    {
        ServiceRecorder recorder(handle);
        recorder.fail("kel_vstring_set", 1);
        st_every_set(handle, tx, object, source, &err);
        EXPECT_EQ(err, ENOMEM);
        EXPECT_EQ(recorder.count("kel_vstring_set"), 2U);
    }
    kind_every.destroy(handle, tx, source);
    EXPECT_EQ(tag_name(object), "another name, longer than that");
}

TEST_P(Ownership, AFailedAssignmentKeepsTheOldText) {
    st_every *object = make(0);
    ServiceRecorder recorder(handle);
    recorder.fail("alloc_hook", 1);
    st_every_label_set(handle, tx, object, Text("a text that doesn't fit"), &err);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(label(object), "the label of some length");
}

}  // namespace

}  // namespace tarn::test
