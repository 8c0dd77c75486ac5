/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The journal of a store: its log is kept, and says who committed when, and what for. And how
 * durable commits are: what of them survives the end of the machine, a power loss for example. A
 * store that isn't set to either pays nothing for it.
 *
 * With KEL_DURABILITY_COMMIT, kel_transaction_commit and kel_store_unlock have one more error: EIO
 * and other errors of fsync(2). The changes are committed and others see them, but they may not be
 * on the disk; kel_error_text says so.
 */
#ifndef TARNBASE_JOURNAL_H
#define TARNBASE_JOURNAL_H

#include <stdint.h>

#include "tarnbase/embedded.h"

TARNBASE_BEGIN

/* Whether a store keeps its log. */
#define KEL_JOURNAL_OFF 0
#define KEL_JOURNAL_ON 1         /* it does, and says who committed */
#define KEL_JOURNAL_COMPRESSED 2 /* so it does; what only the journal needs is compressed */

/* How much of the log survives the end of the machine, a power loss for example. */
#define KEL_DURABILITY_PROCESS 0  /* what the kernel has written by itself; the default */
#define KEL_DURABILITY_INTERVAL 1 /* all but the last milliseconds */
#define KEL_DURABILITY_COMMIT 2   /* all commits that have returned */

/* What a commit does if the disk is full. */
#define KEL_FULL_DISK_REFUSE 0 /* it fails with ENOSPC, and the transaction is rolled back */
#define KEL_FULL_DISK_GAP 1    /* it gives up the journal's older files first */

/* The settings of a store's journal, and how durable commits are. All processes have the same. */
typedef struct kel_journal_settings {
    uint32_t enabled;      /* KEL_JOURNAL_OFF, _ON or _COMPRESSED */
    uint32_t durability;   /* KEL_DURABILITY_PROCESS, _INTERVAL or _COMMIT; without a journal too */
    uint32_t interval;     /* of KEL_DURABILITY_INTERVAL: milliseconds, from 1 to 3600000; else 0 */
    uint32_t full_disk;    /* KEL_FULL_DISK_REFUSE or _GAP */
    uint64_t keep_bytes;   /* disk space of what is kept; 0: no limit */
    uint64_t keep_seconds; /* how long it is kept; 0: no limit */
} kel_journal_settings;

/* The result of kel_store_describe_journal. Positions count bytes of the log. */
typedef struct kel_journal_description {
    kel_journal_settings settings; /* as they are now */
    uint64_t begin;                /* position of the oldest checkpoint that is kept */
    uint64_t begin_time;           /* when that was written, in nanoseconds since 1970 */
    uint64_t end;                  /* published position */
    uint64_t durable;     /* position up to which the log is known to be on the disk; 0: none */
    uint64_t bytes;       /* bytes on disk of the log, and of all checkpoints but the newest */
    uint64_t checkpoints; /* number of checkpoints */
    uint64_t gap;         /* position before which a full disk has cost the journal; 0: none */
    uint64_t gap_time;    /* when, in nanoseconds since 1970 */
} kel_journal_description;

/* The result of kel_store_describe_compression. */
typedef struct kel_journal_compression {
    uint64_t segments;    /* compressed segments of the log */
    uint64_t bytes;       /* bytes on disk of these; kel_journal_description counts them too */
    uint64_t plain_bytes; /* bytes that they took before */
} kel_journal_compression;

/*
 * Sets the journal of a store and the durability of its commits. This process is the writer for a
 * moment; others use the settings from their next transaction on. A checkpoint is made, and all
 * files are written to the disk, so that from the return of this function on the durability is as
 * set. If the journal is switched off, or keeps less than before, files that aren't kept any more
 * are removed.
 *
 * The journal keeps the log, with older checkpoints at distances of at least their own length, as
 * far as `keep_bytes` and `keep_seconds` allow; the newest checkpoint and the log after it aren't
 * counted. What is too much is removed when a checkpoint is made, the oldest first, in whole files.
 * Nobody who reads the journal holds it back. With KEL_JOURNAL_COMPRESSED the log before the newest
 * checkpoint is compressed whenever one is made, never by a commit; what counts is the disk space
 * that it then takes. What is compressed stays so if the setting changes.
 * Errors: EINVAL a member has no such value, or the store is private; ENOSPC and other errors of
 * its files; and those of kel_store_lock and of kel_store_checkpoint.
 */
TARNBASE_API uint32_t kel_store_set_journal(kel_store *store, const kel_journal_settings *settings);
/* Fills in `description`. Errors: EINVAL the store is private; and those of open(2). */
TARNBASE_API uint32_t kel_store_describe_journal(const kel_store *store,
                                                 kel_journal_description *description);
/* Fills in `compression`. Errors: EINVAL the store is private. */
TARNBASE_API uint32_t kel_store_describe_compression(const kel_store *store,
                                                     kel_journal_compression *compression);
/*
 * Waits until everything that is committed at this moment is on the disk, whatever the durability
 * is. Threads and processes that call it at once share the writing, as commits with
 * KEL_DURABILITY_COMMIT do.
 * Errors: EIO and other errors of fsync(2): commits stay visible, but may not be on the disk;
 * EINVAL the store is private; EACCES it is open to read; EPERM it was opened by the parent
 * process.
 */
TARNBASE_API uint32_t kel_store_sync(kel_store *store);

/*
 * Sets the label of an open transaction, which the journal of the store records with its commit:
 * what the transaction is for, in UTF-8. The text is copied; null or "" removes the label. Without
 * a journal it has no effect.
 * Errors: EINVAL it isn't open; E2BIG the text has more than 1024 bytes; ENOMEM.
 */
TARNBASE_API uint32_t kel_transaction_label(kel_handle *handle, uint32_t tx_id, const char *text);

TARNBASE_END

#endif
