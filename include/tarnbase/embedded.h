/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The embedded runtime's own interface: stores, handles, transactions, and what
 * a program needs besides the services of runtime.h.
 *
 * Status. Functions that return a `uint32_t` status return 0 or a Linux errno number;
 * kel_error_text then describes the error and names the file or the argument.
 *
 * Threads. A handle may be used by one thread at a time; one transaction at a time
 * should change a store. Threads read it in scopes that kel_store_begin_read opens, which keep
 * changes and refreshes of the process away. Changes made with KEL_TX_NONE are permanent at once,
 * in a store with files as kel_store_lock says.
 *
 * Processes. Any number of processes may have a store open, and each works on its own copy in
 * private memory. One at a time is the writer: kel_transaction_begin waits for that, and brings
 * the copy up to date. A commit publishes the changes with a single store of eight bytes: other
 * processes see all of them or none, and what a process that is killed hadn't committed was never
 * in the store. A reader sees what others have committed after kel_store_refresh; until then its
 * copy, records and texts included, doesn't change.
 */
#ifndef TARNBASE_EMBEDDED_H
#define TARNBASE_EMBEDDED_H

#include <stddef.h>
#include <stdint.h>

#include "tarnbase/export.h"
#include "tarnbase/handle.h"
#include "tarnbase/record.h"
#include "tarnbase/value.h"

TARNBASE_BEGIN

/* ---- Stores ------------------------------------------------------------ */

/* An arena with its keyed store, type map and mappings. */
typedef struct kel_store kel_store;

/* Options for creating a store. A zero member selects its default. */
typedef struct kel_store_options {
    uint64_t capacity; /* bytes of address range reserved, the store's limit; default 64 GiB,
                          or less, down to 1 GiB, if the process may not map that much */
    void *base;        /* address to map at; default: chosen by the runtime */
} kel_store_options;

/* The result of kel_store_describe. */
typedef struct kel_store_description {
    const char *path;      /* folder, or null for a private store; valid until it is closed */
    void *base;            /* address at which every process maps the store */
    uint64_t capacity;     /* size in bytes that the store may grow to */
    uint64_t size;         /* bytes of the arena, up to the last page in use */
    uint64_t blocks;       /* blocks allocated */
    uint64_t block_bytes;  /* bytes of these blocks, rounded up to their size classes */
    uint64_t transactions; /* open transactions */
    uint64_t committed;    /* transactions committed since the store was created */
    uint64_t rolled_back;  /* transactions rolled back since the store was created */
    uint32_t tables;       /* table blocks on the table list */
    uint32_t types;        /* descriptor copies in the type map */
    uint32_t writable;     /* 1 if this process may write, else 0 */
    uint64_t log_end;      /* bytes ever published in the log; 0 for a private store */
    uint64_t log_bytes;    /* bytes of these after the newest checkpoint */
    uint64_t commit_time;  /* when the last ones were published, in nanoseconds since 1970; 0:
                              none were, or the store is private */
    uint64_t free_bytes;   /* bytes between the blocks, which the next ones use first */
} kel_store_description;

/* The result of kel_store_describe_writer. */
typedef struct kel_store_writer {
    uint32_t pid;      /* in its own pid namespace; 0: unknown */
    uint32_t reserved; /* zero */
    uint64_t since;    /* when it became the writer, in nanoseconds since 1970; 0: unknown */
    char command[16];  /* the name of its program, printable, ends with NUL; "" if unknown */
} kel_store_writer;

/* The result of kel_store_describe_files: bytes are those that files take on disk. */
typedef struct kel_store_files {
    uint64_t bytes;            /* of all files */
    uint64_t log_bytes;        /* of the log */
    uint64_t checkpoint_bytes; /* of the newest checkpoint */
    uint64_t checkpoint_time;  /* when that was written, in nanoseconds since 1970 */
} kel_store_files;

/*
 * Creates a store: a folder of that path, with its files. `options` may be null.
 * Errors: EEXIST the path exists; EINVAL the capacity is not a multiple of the
 * page size, or too small; EADDRINUSE the address range is taken; and those of mkdir(2) and
 * open(2).
 */
TARNBASE_API uint32_t kel_store_create(const char *path, const kel_store_options *options,
                                       kel_store **store);
/*
 * Opens a store and maps it at the address recorded in it. A process that may not write to its
 * files opens it to read, also on a read-only file system, and changes nothing on disk.
 * Errors: EINVAL not a store, or of another format version or byte order: kel_error_text says
 * which, and how to move the data; EBADMSG damaged; EADDRINUSE the address range is taken in this
 * process; ENOMEM it may not map what is in use; and those of open(2).
 *
 * A process that may not map the store's whole capacity, as `ulimit -v` limits it, maps what is
 * in use and more as the store grows. An allocation or a refresh that needs more than it may map
 * is ENOMEM; the copy stays as it was.
 *
 * A process may have several stores open, but tables opened by id in one of them only: the
 * library looks up a table type's table-id root once per process. In another store
 * `<table>_table_open_by_id` then returns null, with ENOMEM unless it was called to open
 * only, and kel_error_text gives the reason; `<table>_table_open_auto_id` creates a block that
 * can't be found again, and traces that.
 * After the first store is closed, opening by automatic id in another store, or freeing a
 * table opened by id there, reads unmapped memory. Once the same store is open again the root
 * is at its old address, and everything works. Tables opened by name have no such limit.
 */
TARNBASE_API uint32_t kel_store_open(const char *path, kel_store **store);
/*
 * As kel_store_open, but makes a private store of it: it has the content of this moment, its
 * changes stay in this process, and nothing is shared.
 */
TARNBASE_API uint32_t kel_store_open_copy(const char *path, kel_store **store);
/* As kel_store_open, or as kel_store_create if the path doesn't exist. */
TARNBASE_API uint32_t kel_store_open_or_create(const char *path, const kel_store_options *options,
                                               kel_store **store);
/*
 * Creates a store in anonymous memory, which is lost when it is closed.
 * Errors: those of kel_store_create that don't concern its files; ENOMEM.
 */
TARNBASE_API uint32_t kel_store_create_private(const kel_store_options *options, kel_store **store);
/*
 * Closes a store: rolls back its open transactions and unmaps it. Its handles must have been
 * destroyed. In a child of the process that opened it, nothing of the parent's is touched.
 * Null is accepted.
 */
TARNBASE_API void kel_store_close(kel_store *store);
/* Fills in `description`. */
TARNBASE_API void kel_store_describe(const kel_store *store, kel_store_description *description);
/*
 * Fills in `writer` with the process that is the writer of the store now, to be shown: another one
 * may be a moment later. Errors: ENOENT no process is; EINVAL the store is private.
 */
TARNBASE_API uint32_t kel_store_describe_writer(const kel_store *store, kel_store_writer *writer);
/* Fills in `files`. Errors: EINVAL the store is private; and those of open(2). */
TARNBASE_API uint32_t kel_store_describe_files(const kel_store *store, kel_store_files *files);
/* Returns the store's first table block, or null; `toc_next` links to the next one. */
TARNBASE_API kel_table *kel_store_first_table(const kel_store *store);

/*
 * Brings this process's copy up to date with what others have committed. Pointers to records,
 * objects and texts that others have deleted become invalid. Does nothing for a private store,
 * and while this process is the writer. If nothing was committed, it costs a few loads; else it
 * waits for the end of the reading scopes that are open in other threads.
 * Errors: EDEADLK this thread has a reading scope open; EBADMSG the log is damaged: the copy stays
 * as it was after the last good commit; EPERM the store was opened by the parent process; EMFILE,
 * ENFILE, ENOMEM and EIO.
 */
TARNBASE_API uint32_t kel_store_refresh(kel_store *store);
/*
 * Opens a reading scope of this thread: until kel_store_end_read, the copy that the threads of
 * this process share doesn't change. It waits for the end of a transaction that is open in another
 * thread; that transaction waits for scopes that are open when it begins. Scopes of a thread may
 * nest. `refresh` nonzero: the copy is brought up to date before, as by kel_store_refresh, unless
 * this thread has a scope open.
 *
 * A thread that has a scope open can't begin a transaction, lock the store, or refresh it. In a
 * thread that has begun a transaction, a scope doesn't wait, and keeps nothing away until the
 * process has ended its transactions. A scope doesn't keep away changes with KEL_TX_NONE in a
 * private store, unless they are made between kel_store_lock and kel_store_unlock.
 * Errors: ENOMEM; EPERM the parent process was writing when it made this one by fork(2); those of
 * kel_store_refresh if `refresh` isn't 0. After an error no scope is open.
 */
TARNBASE_API uint32_t kel_store_begin_read(kel_store *store, uint32_t refresh);
/* Ends the last scope that this thread has opened. Error: EINVAL it has none open. */
TARNBASE_API uint32_t kel_store_end_read(kel_store *store);
/*
 * Makes this process the writer until kel_store_unlock, across transactions. It waits as
 * kel_transaction_begin does, and has the same errors. In a private store it only keeps the
 * reading scopes of other threads away.
 *
 * Only the writer may change a store with KEL_TX_NONE; the changes are published with the next
 * commit, or by kel_store_unlock. A process that isn't the writer gets no memory with KEL_TX_NONE,
 * and what it stores is traced and undone before its copy next changes. Opening a table that
 * doesn't exist yet is such a change: do it in a transaction or as the writer.
 */
TARNBASE_API uint32_t kel_store_lock(kel_store *store);
/*
 * Ends what kel_store_lock began; calls of both may nest. The last one publishes changes made
 * with KEL_TX_NONE, unless a transaction is open, whose end does that.
 * Errors: EINVAL the store isn't locked; ENOSPC the changes couldn't be written, and are undone.
 */
TARNBASE_API uint32_t kel_store_unlock(kel_store *store);
/*
 * Sets how long kel_transaction_begin and kel_store_lock wait for another writer, and then for the
 * reading scopes of other threads, in milliseconds; negative: until they end, which is the default.
 * Does nothing for a private store.
 */
TARNBASE_API void kel_store_set_lock_timeout(kel_store *store, int64_t milliseconds);
/*
 * Waits until another process has committed something that this process's copy doesn't have yet;
 * negative milliseconds: without limit. The copy doesn't change.
 * Errors: ETIMEDOUT, also when a signal was handled; EINVAL the store is private.
 */
TARNBASE_API uint32_t kel_store_wait(kel_store *store, int64_t milliseconds);
/*
 * Writes a checkpoint: the log before it is removed. The runtime does this by itself, in the
 * background, when the log gets long; no writer waits for it.
 * Errors: EBUSY another one is being made; EINVAL the store is private; EACCES it is open to
 * read; ENOSPC and other errors of its files: nothing has changed.
 */
TARNBASE_API uint32_t kel_store_checkpoint(kel_store *store);
/*
 * Returns space to the file system: begins a new, short file of the log, and writes a checkpoint,
 * which has no disk space for free memory. It becomes the writer for a moment, unless this process
 * is; other processes go on. Nothing moves, and all pointers stay valid.
 * Errors: those of kel_store_lock and of kel_store_checkpoint.
 */
TARNBASE_API uint32_t kel_store_compact(kel_store *store);
/*
 * Makes a store of the name `path` with what is committed at this moment. Nobody waits: the copy
 * is made of the newest checkpoint and the log. It is complete when it gets its name, and a store
 * of its own from then on, but at the same address: one process can't have both open.
 * Errors: EEXIST the path exists; EINVAL the store is private; ENOSPC and other errors of files;
 * EBADMSG the store is damaged.
 */
TARNBASE_API uint32_t kel_store_backup(kel_store *store, const char *path);

/* Describes the last failure in this thread; "" if no call failed. */
TARNBASE_API const char *kel_error_text(void);
/*
 * Returns the errno number of that failure; 0 if no call failed. After an operation that had no
 * memory it is ENOMEM, or the reason for which the store refused it: EPERM, a change with
 * KEL_TX_NONE by a process that isn't the writer.
 */
TARNBASE_API uint32_t kel_error_number(void);

/*
 * For tests: the n-th allocation from now, counted from 1, fails; all others
 * succeed. 0: none fails.
 */
TARNBASE_API void kel_store_fail_allocation(kel_store *store, uint64_t n);

/* ---- Handles ----------------------------------------------------------- */

/*
 * Creates a handle on a store: tracking off, no transaction for `_cr` forms.
 * `store_types_enabled` nonzero: objects get the store's own descriptors.
 * Errors: EINVAL `store` is null; ENOMEM.
 */
TARNBASE_API uint32_t kel_handle_create(kel_store *store, uint32_t store_types_enabled,
                                        kel_handle **handle);
/* Frees a handle. Null is accepted. */
TARNBASE_API void kel_handle_destroy(kel_handle *handle);
/* Returns the store of a handle. */
TARNBASE_API kel_store *kel_handle_store(const kel_handle *handle);
/* Sets the state tracking mode: KEL_STATE_TRACKING_OFF or _ON, or 0 for no control record. */
TARNBASE_API void kel_handle_set_state_tracking(kel_handle *handle, uint32_t mode);
/*
 * Sets the variant of a type in the handle's domain; types that aren't set use
 * their highest variant. The type is identified by its LUID.
 * Errors: EINVAL `descriptor` is null; ENOMEM.
 */
TARNBASE_API uint32_t kel_handle_set_variant(kel_handle *handle, const kel_type_info *descriptor,
                                             int8_t variant);
/*
 * Sets the size of the handle's workspace for clones, in bytes; initially 1 MiB, 0 for none.
 * Error ENOMEM: the workspace is unchanged.
 */
TARNBASE_API uint32_t kel_handle_set_workspace(kel_handle *handle, uint32_t length);

/* ---- Transactions ------------------------------------------------------ */

/*
 * Begins a transaction. The first one makes this process the writer: it waits until no other
 * process is, then until no other thread has a reading scope open, and brings the copy up to date.
 * A writer that died is replaced at once.
 * Errors: EAGAIN too many are open; EDEADLK this thread has a reading scope open; ETIMEDOUT
 * another process is the writer, and kel_error_text names it, or another thread reads; EACCES the
 * store is open to read; EPERM the store was opened by the parent process; those of
 * kel_store_refresh; ENOSPC.
 */
TARNBASE_API uint32_t kel_transaction_begin(kel_handle *handle, uint32_t *tx_id);
/*
 * Makes the changes of a transaction permanent, and publishes them if the store has files. If
 * other transactions of this process have changed something too, they are published when the
 * last of these ends. With the last transaction the process ceases to be the writer.
 * Errors: EINVAL it isn't open; ENOSPC, EFBIG, EIO, ENOMEM the changes couldn't be written: the
 * transaction was rolled back.
 */
TARNBASE_API uint32_t kel_transaction_commit(kel_handle *handle, uint32_t tx_id);
/*
 * Rolls back a transaction: every byte of the store that was announced to a log hook is
 * restored, blocks allocated are freed, blocks freed are kept.
 * Errors: EINVAL it isn't open; ENOMEM there was no memory to log all of its changes:
 * those logged, the oldest, are rolled back, and the later ones stay.
 */
TARNBASE_API uint32_t kel_transaction_rollback(kel_handle *handle, uint32_t tx_id);

/* ---- Records that may have failed --------------------------------------- */

/*
 * Releases one reference to a record, whatever happened to the record before: it may be
 * in an index or not, its insert may have failed, its table may be marked for replication,
 * and an error may be set in the handle, which doesn't change. `vector` is the
 * `<table>_table_vft` of the record's table. Null for `record` is accepted.
 *
 * The last reference deletes the record from its index, if it is in one, and destroys it
 * with its objects. `<table>_destroy_record` does the same only with *err 0 and on a table
 * that isn't marked: otherwise it frees a block that stays in the index.
 * Returns: 0, and the reference is released; with the last one the record is destroyed.
 * Errors: EINPROGRESS the table is marked and the handle isn't the engine's: the record
 * stays in the index with KEL_RECORD_PENDING_DESTROY set, and
 * kel_replication_finish_destroys now owns the reference. EINVAL the record isn't one of that
 * table, and nothing has changed. Any other: the reason why the record is still in its index,
 * or, with `table` null, why it is still mapped; its block isn't freed.
 */
TARNBASE_API uint32_t kel_record_release(kel_handle *handle, uint32_t tx_id,
                                         const void *const *vector, kel_record *record);
/*
 * Returns: 1 if a `_cr` creation had no memory and returned the type's fallback, which is a
 * block outside the handle's store; else 0, also for null. `last_error` doesn't show it:
 * `<table>_record_create_cr` with `with_objects` 0 leaves it 0 even without memory. A
 * fallback is shared by the whole process: don't set its fields or insert it; destroying it
 * is allowed. The result is 1 for the caller's own memory too, such as an object on the stack.
 */
TARNBASE_API uint32_t kel_record_is_fallback(const kel_handle *handle, const kel_record *record);
TARNBASE_API uint32_t kel_object_is_fallback(const kel_handle *handle, const void *object);

/* ---- Threads ----------------------------------------------------------- */

/* Sets the calling thread's tenant; 0 is the default one. */
TARNBASE_API void kel_thread_set_tenant(uint16_t tenant);
/* Sets the calling thread's trace correlation; zeros end it. */
TARNBASE_API void kel_thread_set_correlation(uint64_t uuid, uint8_t mark);

/* ---- Strings and addresses --------------------------------------------- */

/*
 * Sets a string's text to `length` bytes at `bytes`, copied into the arena if
 * they don't fit in the string itself. The string must be initialised.
 * Errors in *err: ENOMEM. With *err set on entry nothing happens.
 */
TARNBASE_API void kel_vstring_assign(kel_handle *handle, uint32_t tx_id, kel_vstring *string,
                                     const void *bytes, uint32_t length, uint32_t *err);
/* The same from C text. */
TARNBASE_API void kel_vstring_assign_text(kel_handle *handle, uint32_t tx_id, kel_vstring *string,
                                          const char *text, uint32_t *err);
/*
 * Makes `string` a search key that refers to the caller's bytes, which must outlive
 * it. Nothing is allocated and nothing needs to be freed. Setting a field from it
 * copies the bytes.
 */
TARNBASE_API void kel_vstring_refer(kel_vstring *string, const void *bytes, uint32_t length);
/* Returns the bytes of a string, not NUL-terminated; valid until it is set or destroyed. */
TARNBASE_API const char *kel_vstring_bytes(const kel_vstring *string, uint32_t *length);

/* Sets an address from 4 or 16 bytes in network order, or clears it with family 0. */
TARNBASE_API void ip_address_assign(kel_handle *handle, uint32_t tx_id, ip_address *address,
                                    uint8_t family, const void *bytes, uint32_t *err);
/* Sets an address from text, IPv4 or IPv6 (inet_pton(3)). EINVAL: it is neither. */
TARNBASE_API void ip_address_assign_text(kel_handle *handle, uint32_t tx_id, ip_address *address,
                                         const char *text, uint32_t *err);
/* Makes `address` a search key. Needs no handle. */
TARNBASE_API void ip_address_refer(ip_address *address, uint8_t family, const void *bytes);
/* Writes an address to `text`, as inet_ntop(3) does; "" for none. Returns `text`. */
TARNBASE_API const char *ip_address_text(const ip_address *address, char *text, size_t size);

/* ---- XML documents ----------------------------------------------------- */

/* A parsed document: the `document` of the from_xml operations. */
typedef struct kel_xml_document kel_xml_document;

/*
 * Parses a document of `length` bytes. Null on failure: kel_error_text gives the
 * line and what was expected. No entity is expanded and no file is loaded.
 */
TARNBASE_API kel_xml_document *kel_xml_parse(const char *text, size_t length);
/* Frees a document. Null is accepted. */
TARNBASE_API void kel_xml_free(kel_xml_document *document);
/*
 * Calls `function` with each element that the XPath `path` selects, in document
 * order, until a call returns nonzero. The element is a document of its own, valid
 * during the call. Stores the last result in `*result`, 0 if there was no call;
 * `result` may be null. Errors: EINVAL bad path; ENOMEM.
 */
TARNBASE_API uint32_t kel_xml_for_each(kel_xml_document *document, const char *path,
                                       uint32_t (*function)(kel_xml_document *element,
                                                            void *context),
                                       void *context, uint32_t *result);

/* ---- Trace ------------------------------------------------------------- */

/* Receives a formatted trace line. */
typedef void (*kel_trace_sink)(void *context, uint16_t module_id, uint32_t level, const char *text);
/*
 * Sets the process's trace sink. Null: the default sink, which writes levels 0 to
 * 3 to standard error.
 */
TARNBASE_API void kel_trace_set_sink(kel_trace_sink sink, void *context);

/* ---- Object identity --------------------------------------------------- */

/*
 * Maps an object: sets OBJ_OID_MAPPED and stores its OID in `*oid`.
 * Errors: EINVAL `object` is null; EEXIST it is already mapped; ENOMEM.
 */
TARNBASE_API uint32_t kel_object_map(kel_handle *handle, uint32_t tx_id, void *object,
                                     uint64_t *oid);
/* Adds a reference to a mapped object. Error ENOENT: no such OID. */
TARNBASE_API uint32_t kel_object_reference(kel_handle *handle, uint32_t tx_id, uint64_t oid);
/* Returns the object mapped to an OID; null if there is none. */
TARNBASE_API void *kel_object_find(kel_handle *handle, uint64_t oid);
/*
 * Called when the last reference to an object is released after its owner destroyed
 * it. The mapping no longer exists, and the function frees the object.
 */
typedef void (*kel_release_function)(kel_handle *handle, uint32_t tx_id, void *object,
                                     void *context);
TARNBASE_API void kel_handle_set_release(kel_handle *handle, kel_release_function function,
                                         void *context);

/* ---- Replication ------------------------------------------------------- */

/*
 * A store has one replication stream. It contains each record inserted in a marked and
 * armed table, as `<table>_table_record_marshal` writes it, as part of the inserting
 * transaction. The stream is a bounded ring in the store, which every process can
 * read; a new frame replaces the oldest ones. Frames have positions 0, 1, 2, ...,
 * and a table's `write_cursor` is the position after its newest frame.
 */

/* Sets whether a table is marked for replication and whether its write cursor is armed. */
TARNBASE_API void kel_table_set_replication(kel_handle *handle, uint32_t tx_id, kel_table *table,
                                            uint32_t marked, uint32_t write_cursor_armed);

/*
 * Stores the vector of the table with this 16-byte LUID in `*vector`; null with *err
 * set if there is none. tarnbase_table_get_vft is such a function.
 */
typedef void (*kel_table_vector_lookup)(kel_handle *handle, uint32_t tx_id, const uint8_t *luid,
                                        const void *const **vector, uint32_t *err);
/*
 * Attaches the replication engine to a handle, which from then on finds vectors with
 * `lookup` and counts reads, and creates the store's ring if there is none, as the writer of a
 * store with files. Attach every handle that inserts in armed tables: once the store has a ring,
 * an insert through another handle stays in the table, but reports ENOENT and takes a position
 * that readers miss. Null detaches.
 * Errors: ENOMEM; if there is no ring, also those of kel_store_lock and of kel_store_unlock.
 */
TARNBASE_API uint32_t kel_replication_attach(kel_handle *handle, kel_table_vector_lookup lookup);
/*
 * Creates the store's ring, or changes its limits and keeps the newest frames that fit:
 * at most `frames` frames, 0 for 4096, and `bytes` bytes of marshalled records, 0 for
 * 4 MiB. An insert whose frame is larger than that reports EMSGSIZE, one without memory
 * for its frame ENOMEM; readers miss its position. The change is permanent at once: in a store
 * with files it is made as the writer.
 * Errors: EINVAL too many frames; ENOMEM; EBUSY there is a ring and a transaction is open; those
 * of kel_store_lock and of kel_store_unlock.
 */
TARNBASE_API uint32_t kel_replication_configure(kel_handle *handle, uint64_t frames,
                                                uint64_t bytes);

/* Describes a frame. */
typedef struct kel_replication_frame {
    uint64_t position;      /* its number in the stream */
    const kel_table *table; /* the table inserted in; may have been freed since */
    uint8_t luid[16];       /* the table's LUID */
    uint32_t length;        /* bytes of the marshalled record */
    uint16_t tenant;        /* the record's tenant and source, which its bytes don't contain */
    uint8_t src;            /* see `tenant` */
    uint8_t reserved;       /* zero */
} kel_replication_frame;

/*
 * A reader of the stream. It is the caller's; the store keeps no list of readers. Its
 * position can be saved and passed to kel_replication_reader_open by any process.
 */
typedef struct kel_replication_reader {
    uint64_t position; /* of the next frame to read */
    uint64_t missed;   /* frames that were replaced before they were read */
} kel_replication_reader;

/* Positions to open a reader at, besides a number. */
#define KEL_REPLICATION_OLDEST 0xfffffffffffffffeULL /* the oldest frame in the ring */
#define KEL_REPLICATION_NEWEST 0xffffffffffffffffULL /* the next frame to be written */

/*
 * Fills in a reader. A position that is no longer in the ring is allowed: the first
 * read reports the missed frames.
 * Errors: ENOENT the store has no ring; EINVAL the position is ahead of the stream.
 */
TARNBASE_API uint32_t kel_replication_reader_open(kel_handle *handle, uint64_t position,
                                                  kel_replication_reader *reader);
/*
 * Reads the next frame: its bytes into `buffer`, its description into `frame`, and
 * moves the reader past it. Frames of an open transaction aren't visible yet. When all frames
 * were read, it does as kel_store_refresh, unless this thread has a reading scope open, and reads
 * on if others have committed some.
 * Errors: EAGAIN there is no frame yet; EOVERFLOW frames were missed: `missed` is
 * increased by their number and the reader has moved past them: call again; EMSGSIZE
 * the buffer is too small for `frame->length` bytes: the reader doesn't move; ENOENT no
 * ring; EINVAL the reader is ahead of the stream; and those of kel_store_refresh.
 */
TARNBASE_API uint32_t kel_replication_next(kel_handle *handle, kel_replication_reader *reader,
                                           void *buffer, uint32_t buffer_len,
                                           kel_replication_frame *frame);
/* Returns how many positions the reader is behind the end of the stream, missed ones included. */
TARNBASE_API uint64_t kel_replication_lag(kel_handle *handle, const kel_replication_reader *reader);

/*
 * Finishes pending destructions: deletes and destroys each record of a marked table whose
 * pending bit is set, through its table's vector, with `replication_engine_active` set and
 * as the record's tenant. Stores their number in `*finished`. A record with further
 * references is deleted now and destroyed when the last of them is released.
 * Errors: ENOENT the handle is not attached, or the lookup doesn't find a table; and
 * those of delete and destroy. After an error the rest of that table is skipped, the other
 * tables are finished, and the first error is returned.
 */
TARNBASE_API uint32_t kel_replication_finish_destroys(kel_handle *handle, uint32_t tx_id,
                                                      uint32_t *finished);

/* Returns how many reads of records in marked tables this handle has reported. */
TARNBASE_API uint64_t kel_handle_cache_reports(const kel_handle *handle);
/*
 * Returns how often a record was read through this handle while it was attached. Only about
 * 1000 records are counted, those read last; 0 for any other.
 */
TARNBASE_API uint64_t kel_replication_reads(const kel_handle *handle, const kel_record *record);

/* Called with a record that was read and the vector of its table. */
typedef uint32_t (*kel_replication_read_function)(kel_record *record, const void *const *vector,
                                                  uint64_t reads, void *context);
/*
 * Calls `function` with each record in the table's index that kel_replication_reads
 * counts, in index order, until a call returns nonzero. Returns the last result.
 */
TARNBASE_API uint32_t kel_replication_for_each_read(kel_handle *handle, kel_table *table,
                                                    kel_replication_read_function function,
                                                    void *context);

/* ---- Checking ---------------------------------------------------------- */

/* Receives a line that says where something is wrong, and what was expected. */
typedef void (*kel_check_report)(const char *text, void *context);
/* Called now and then during a check: of `total` blocks, `blocks` are checked. */
typedef void (*kel_check_progress)(uint64_t blocks, uint64_t total, void *context);
/*
 * Checks this process's copy of a store, and the store's files: page heads, bitmaps and counts of
 * blocks; descriptors; the table list, keys and ids; each table's tree, its order by the key,
 * records, objects, strings, addresses and state blocks; the entries of texts, of objects' data
 * and of identities; counts by source and by tenant; the replication stream; that each block has
 * one owner; the checksums of the checkpoint and of the log. Whatever the bytes are, the check
 * ends and accesses nothing outside of the store. It changes nothing.
 *
 * `lookup` finds the tables' vectors, as for kel_replication_attach; with null, objects and the
 * order of records aren't checked. `report` is called with each finding. `progress` may be null.
 * `context` is passed to both. A record or an object that a process has made, but not inserted
 * in a table or attached to a record, is a finding. So are the counts of a tenant that has inserted
 * or deleted other tenants' records: they are those of the thread's tenant.
 * Errors: EBADMSG something was reported; EBUSY a transaction is open in this process; ENOMEM.
 */
TARNBASE_API uint32_t kel_store_check(kel_store *store, kel_table_vector_lookup lookup,
                                      kel_check_report report, kel_check_progress progress,
                                      void *context);

/*
 * Mends what can be mended in a store's files and contents, as the writer, in one commit: records
 * counted wrongly, by source and by tenant; memory that nothing refers to, if nothing else is
 * wrong and no other process may write the store; a damaged checkpoint, if an older one and the
 * log are whole; files that killed processes have left. A store without a fault of these kinds is
 * only compacted. kel_store_check says afterwards what is left.
 *
 * `lookup` as for kel_store_check; with null, nothing is mended in the contents.
 * Errors: ETIMEDOUT another process stays the writer; EBUSY one makes a checkpoint; EBADMSG the
 * files are damaged: kel_store_salvage may read them; and those of kel_store_open and
 * kel_store_compact.
 */
TARNBASE_API uint32_t kel_store_repair(const char *path, kel_table_vector_lookup lookup);

/*
 * Receives a line that says what a salvage has lost, and why: `records` records of `table`, one of
 * the new store's or null if it isn't known. 0: damage that no record is known to be lost by.
 */
typedef void (*kel_salvage_report)(const kel_table *table, uint64_t records, const char *text,
                                   void *context);
/*
 * Makes a private store of what can be read of a damaged one: its tables with the records that
 * are sound. The newest checkpoint that can be read is used, with the log after it up to where it
 * is damaged. One wrong bit in a page is put right; another page with a wrong checksum may lead to
 * records, but no value in it is taken. Records are found in any memory, whether or not a tree
 * leads to them. A table whose name is lost is named after its place. The files aren't changed,
 * and whatever their bytes are, nothing outside of the store is accessed.
 *
 * The new store is for reading: its tables are at addresses of their own, and their keys aren't
 * entered. `lookup` is as for kel_replication_attach. `report` is called with each loss.
 * Errors: EBADMSG no checkpoint can be read; EINVAL not a store; EADDRINUSE the store's addresses
 * are taken in this process; ENOMEM; and those of open(2).
 */
TARNBASE_API uint32_t kel_store_salvage(const char *path, kel_table_vector_lookup lookup,
                                        kel_salvage_report report, void *context,
                                        kel_store **store);

TARNBASE_END

#endif
