// SPDX-License-Identifier: Apache-2.0
// A process that forks while it has a store open.
#include <optional>

#include "tests/shared/connections.h"

namespace shared_test {
namespace {

using Fork = SharedStore;

TEST_F(Fork, AChildClosesWhatItInheritedAndOpensItsOwn) {
    Connections::create(path, {{"a", 1}});
    std::optional<Connections> parent(path);
    Child child([&](Child &test) {
        test.await();
        need(tarn::transaction::try_begin(parent->session).error().number() == EPERM,
             "the child writes in its parent's store");
        need(parent->store.try_refresh().error().number() == EPERM,
             "the child refreshes its parent's store");
        need(!tarn::store::try_open(path), "the store is opened twice");
        parent.reset();
        Connections own(path);
        need(own.content() == Content{{"a", 1}}, "the child sees what isn't committed");
        own.store.set_lock_timeout(20);
        need(tarn::transaction::try_begin(own.session).error().number() == ETIMEDOUT,
             "the parent's lock is lost");
        test.tell();
        own.store.set_lock_timeout(-1);
        own.commit("child", 3);
    });
    {
        tarn::transaction transaction(parent->session);
        parent->set("a", 2);
        child.tell();
        child.await();
        transaction.commit();
    }
    EXPECT_EQ(child.join(), 0);
    parent->store.refresh();
    EXPECT_EQ(parent->content(), (Content{{"a", 2}, {"child", 3}}));
    parent->commit("a", 4);
    parent.reset();
    EXPECT_EQ(content(), (Content{{"a", 4}, {"child", 3}}));
}

TEST_F(Fork, TheEndOfAChildRollsBackNothingOfItsParents) {
    Connections::create(path, {{"a", 1}});
    Connections parent(path);
    tarn::transaction transaction(parent.session);
    parent.set("a", 2);
    Child child([&](Child &) { kel_store_close(parent.store.c_store()); });
    EXPECT_EQ(child.join(), 0);
    transaction.commit();
    parent.commit("b", 3);
    Child reader([&](Child &) {
        kel_store_close(parent.store.c_store());
        need(content() == Content{{"a", 2}, {"b", 3}}, "the content is wrong");
    });
    EXPECT_EQ(reader.join(), 0);
}

}  // namespace
}  // namespace shared_test
