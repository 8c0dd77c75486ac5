// SPDX-License-Identifier: Apache-2.0
#include "agentx/answers.h"

namespace agentx {

using tarnctl::Feed;
using tarnctl::Instance;
using tarnctl::Record;

Answers::Answers(const std::string &path, const Oid &base, uint16_t tenant,
                 NotificationQueue &queue)
    : queue_(queue),
      scratch_(tarnctl::Store::scratch()),
      tree_(base, tenant),
      followed_({"tarn-agentx", path, path, 0}, *this) {}

void Answers::read(const std::function<void(const Tree &tree, View &view)> &function) {
    StoreFigures figures;
    figures.left_out = left_out_;
    figures.sent = queue_.sent();
    figures.suppressed = queue_.suppressed();
    const bool is_open = followed_.read([&](const tarnctl::Store &store, uint64_t transaction) {
        View view(scratch_, store);
        figures.is_open = true;
        figures.transaction = transaction;
        view.figures = figures;
        function(tree_, view);
    });
    if (is_open) return;
    View view(scratch_);
    figures.transaction = followed_.status().transaction;
    view.figures = figures;
    function(tree_, view);
}

void Answers::opened(Feed &feed, const std::string & /*identity*/) {
    tree_.rebuild(feed.store());
    left_out_ = tree_.left_out();
}

void Answers::applied(Feed &feed) {
    feed.each_change([&](const Instance &instance, const std::optional<Record> &before,
                         const std::optional<Record> &after) {
        tree_.change(instance, before, after);
        watch_.change(instance, before, after, tree_, queue_);
    });
    left_out_ = tree_.left_out();
}

// What rose meanwhile isn't known.
void Answers::skipped(Feed &feed) {
    tree_.rebuild(feed.store());
    left_out_ = tree_.left_out();
}

}  // namespace agentx
