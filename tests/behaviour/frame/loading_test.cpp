// SPDX-License-Identifier: Apache-2.0
// Loading and unloading the library: its entry in the runtime's module list.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "tarnbase/runtime.h"

namespace {

class Loading : public ::testing::Test {
 protected:
    // The runtime's symbols must be reachable for a library that is opened.
    void *open() { return dlopen(TARNBASE_LIBRARY, RTLD_NOW | RTLD_LOCAL); }
};

TEST_F(Loading, LinksTheModuleRecordOnceAndUnloadingRemovesIt) {
    ASSERT_EQ(kel_module_tot_root.count, 0U);
    void *library = open();
    ASSERT_NE(library, nullptr) << dlerror();

    EXPECT_EQ(kel_module_tot_root.count, 1U);
    kel_module_record *record = kel_module_tot_root.first;
    ASSERT_NE(record, nullptr);
    EXPECT_STREQ(record->module_name, "tarnbase");
    EXPECT_EQ(record->descriptors, dlsym(library, "tarnbase_type_list"));
    EXPECT_EQ(record->link_next, nullptr);
    EXPECT_EQ(record->link_prev, &kel_module_tot_root.first);
    EXPECT_EQ(kel_module_tot_root.last, &record->link_next);

    ASSERT_EQ(dlclose(library), 0);
    EXPECT_EQ(kel_module_tot_root.count, 0U);
    EXPECT_EQ(kel_module_tot_root.first, nullptr);
    EXPECT_EQ(kel_module_tot_root.last, &kel_module_tot_root.first);
}

TEST_F(Loading, KeepsTheListIntactAmongOtherModules) {
    kel_module_record before = {"before", nullptr, nullptr, kel_module_tot_root.last};
    *kel_module_tot_root.last = &before;
    kel_module_tot_root.last = &before.link_next;
    ++kel_module_tot_root.count;

    void *library = open();
    ASSERT_NE(library, nullptr) << dlerror();
    kel_module_record *record = before.link_next;
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->link_prev, &before.link_next);

    kel_module_record after = {"after", nullptr, nullptr, kel_module_tot_root.last};
    *kel_module_tot_root.last = &after;
    kel_module_tot_root.last = &after.link_next;
    ++kel_module_tot_root.count;

    ASSERT_EQ(dlclose(library), 0);
    EXPECT_EQ(kel_module_tot_root.count, 2U);
    EXPECT_EQ(before.link_next, &after);
    EXPECT_EQ(after.link_prev, &before.link_next);

    kel_module_tot_root = {0, nullptr, &kel_module_tot_root.first};
}

}  // namespace
