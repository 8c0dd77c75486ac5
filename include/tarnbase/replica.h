/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Replicas: a private copy of a store at one transaction, which moves on to the next one when the
 * program says so and reports what each transaction has changed.
 *
 * A replica needs permission to read the store's files alone. It takes no lock, nobody waits for
 * it, and it may be killed at any moment. All operations that read a store work on
 * kel_replica_store, through a handle; no operation changes it, kel_store_refresh included.
 * kel_store_wait waits for a transaction that the replica doesn't have yet.
 *
 * Transactions are numbered from 1 in the order of their commits. What is published without a
 * transaction has a number too, and so has what the runtime publishes by itself, which changes no
 * record.
 *
 * A replica may be used by one thread at a time. Other threads may read its store in the scopes
 * that kel_store_begin_read opens.
 */
#ifndef TARNBASE_REPLICA_H
#define TARNBASE_REPLICA_H

#include <stdint.h>

#include "tarnbase/embedded.h"
#include "tarnbase/export.h"
#include "tarnbase/record.h"

TARNBASE_BEGIN

/* Where a replica begins, besides a transaction's number. */
#define KEL_REPLICA_OLDEST 0xfffffffffffffffeULL /* the oldest state that the files contain */
#define KEL_REPLICA_NEWEST 0xffffffffffffffffULL /* the last transaction committed */

/* What happened to a record. */
#define KEL_REPLICA_INSERTED 1U /* it is in the table now */
#define KEL_REPLICA_CHANGED 2U  /* something of it is different */
#define KEL_REPLICA_DELETED 3U  /* it isn't in the table any more */

/* A copy of a store that moves from transaction to transaction. */
typedef struct kel_replica kel_replica;

/*
 * A record that a transaction has changed. A record that was deleted and inserted again with the
 * same key is one that was changed, or not at all.
 */
typedef struct kel_replica_change {
    kel_table *table;         /* the table; of a freed one a copy, to be identified only */
    const kel_record *before; /* a copy of what it was; null for an inserted one */
    const kel_record *after;  /* the replica's record; null for a deleted one */
    uint32_t what;            /* KEL_REPLICA_... */
    uint32_t reserved;        /* zero */
} kel_replica_change;

/*
 * A transaction. What isn't known of its author is 0 or null: the log of a store contains it
 * only if the store keeps a journal.
 */
typedef struct kel_replica_transaction {
    uint64_t sequence;                 /* its number */
    uint64_t missed;                   /* transactions that were skipped before it */
    uint64_t time;                     /* when it was committed, in nanoseconds since 1970 */
    uint32_t pid;                      /* its process */
    uint32_t uid;                      /* the user of that */
    const char *command;               /* its command line */
    const char *label;                 /* what the program said about it */
    const kel_replica_change *changes; /* the records; valid until the next call */
    uint64_t change_count;             /* their number */
} kel_replica_transaction;

/*
 * Opens a replica of the store `path` as it was after the transaction `sequence`; 0: before the
 * first one. `lookup` finds the tables' vectors, as for kel_replication_attach; records of tables
 * that it doesn't find aren't reported.
 * Errors: EOVERFLOW the files don't reach back to that transaction; EINVAL there is no such
 * transaction yet, or `lookup` is null; EPROTO the journal has another schema than this process;
 * EADDRINUSE this process has the store or a replica of it open; and those of kel_store_open.
 */
TARNBASE_API uint32_t kel_replica_open(const char *path, kel_table_vector_lookup lookup,
                                       uint64_t sequence, kel_replica **replica);
/* Closes a replica. The handles on its store must have been destroyed. Null is accepted. */
TARNBASE_API void kel_replica_close(kel_replica *replica);
/* Returns the replica's store, which kel_replica_close closes, and kel_store_close doesn't. */
TARNBASE_API kel_store *kel_replica_store(const kel_replica *replica);
/* Returns the number of the last transaction that the replica contains. */
TARNBASE_API uint64_t kel_replica_sequence(const kel_replica *replica);
/*
 * Applies the next transaction and fills in `transaction`. The changes are ordered by table; of a
 * table the deleted records come first, then the others, both in the order of their keys. All that
 * can be read of the copies is as it was, except for state flags of objects in an object. They are
 * valid until the next call; other pointers into the store are valid as after kel_store_refresh.
 * Errors: EAGAIN there is none yet; EOVERFLOW the files don't contain the next transaction any
 * more: `missed` were skipped, and the replica is as the store was after `sequence`; EDEADLK this
 * thread has a reading scope open; EPROTO as above; EBADMSG a damaged log; ENOMEM; errors of I/O.
 */
TARNBASE_API uint32_t kel_replica_advance(kel_replica *replica,
                                          kel_replica_transaction *transaction);
/*
 * Applies transactions until one has changed a record, and fills in `transaction` with that change
 * alone. The record is the one of `table` with the key, the tenant and the source of `place`, which
 * needn't be in a table. The transactions before it are applied several times as fast as by
 * kel_replica_advance; `transaction->sequence` is the last one applied, also after an error.
 * Errors: EAGAIN no further transaction has changed the record; ENOENT `table` is no table of the
 * replica's store, or that transaction has freed it; and those of kel_replica_advance.
 */
TARNBASE_API uint32_t kel_replica_advance_record(kel_replica *replica, kel_table *table,
                                                 const kel_record *place,
                                                 kel_replica_transaction *transaction);
/* Says whether a transaction is wanted: not 0. Its changes aren't known yet. */
typedef int (*kel_replica_filter)(const kel_replica_transaction *transaction, void *context);
/*
 * Applies transactions up to the next one that `wanted` accepts, and fills in `transaction` as
 * kel_replica_advance does. `wanted` is called with each of them in turn, whose number and author
 * it may read. Many refused ones in a row are applied several times as fast as by
 * kel_replica_advance; `transaction->sequence` is the last one applied, also after an error.
 * Errors: EAGAIN no further one was accepted; and those of kel_replica_advance.
 */
TARNBASE_API uint32_t kel_replica_advance_wanted(kel_replica *replica, kel_replica_filter wanted,
                                                 void *context,
                                                 kel_replica_transaction *transaction);
/*
 * Finds the last transaction of the store `path` that was committed at `time`, in nanoseconds since
 * 1970, or before. A replica that is opened with its number is as the store was at that time, as
 * far as the clocks were right of those who committed.
 * Errors: EOVERFLOW the files don't reach back to that time; ENODATA the log doesn't say when its
 * transactions were committed: the store keeps no journal; EBADMSG the log, or a checkpoint, is
 * damaged; EINVAL it is no store; and those of open(2).
 */
TARNBASE_API uint32_t kel_replica_sequence_at(const char *path, uint64_t time, uint64_t *sequence);

TARNBASE_END

#endif
