// SPDX-License-Identifier: Apache-2.0
//
// The last transactions of a store, for readers that wait for the next one. Any thread may call
// its functions.
#ifndef TOOLS_EXPORTER_EVENT_LOG_H
#define TOOLS_EXPORTER_EVENT_LOG_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace exporter {

// After which transaction a reader goes on. A store that was made anew has another identity.
struct EventPosition {
    std::string identity;
    uint64_t transaction = 0;

    // "66a0c6d1f2-17"
    std::string text() const;
    // None if the text isn't of that form.
    static std::optional<EventPosition> parse(std::string_view text);
};

struct Event {
    uint64_t transaction;
    std::string_view kind;
    std::shared_ptr<const std::string> data;
};

// What a reader gets.
struct EventBatch {
    enum class Kind {
        events,   // some, and the position is after the last one
        nothing,  // the time is over
        gap,      // the next transactions aren't known; the position is after the last of them
        end,      // there will be no more
    } kind;
    std::vector<Event> events;
};

class EventLog {
 public:
    // Keeps so many transactions, and so many bytes, at most.
    EventLog(std::size_t most_events, std::size_t most_bytes)
        : most_events_(most_events), most_bytes_(most_bytes) {}

    // Forgets all events. What happens after the position will be added.
    void begin(EventPosition position);
    // The next transaction; no data: it has changed no record. Requires: `kind` outlives the log.
    void add(uint64_t transaction, std::string_view kind, std::string data);
    // Lets all readers end.
    void close();

    // None before the first `begin`.
    std::optional<EventPosition> newest() const;
    // Waits for events after the position, which it moves on.
    EventBatch next(EventPosition &position, std::chrono::milliseconds limit);

 private:
    bool is_known(const EventPosition &position) const;
    void drop_oldest();

    const std::size_t most_events_;
    const std::size_t most_bytes_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Event> events_;
    std::size_t bytes_ = 0;
    std::optional<EventPosition> newest_;
    uint64_t known_from_ = 0;  // transactions after this one are known
    bool is_closed_ = false;
};

}  // namespace exporter

#endif
