/* SPDX-License-Identifier: Apache-2.0 */
/* The key index as a sorted list: a node's first word is the next node. */
#include <stddef.h>

#include "own_runtime.h"

static kel_index_node *next_of(const kel_index_node *node) {
    return (kel_index_node *)(uintptr_t)node->opaque[0];
}

static void set_next(kel_index_node *node, const kel_index_node *next) {
    node->opaque[0] = (uintptr_t)next;
}

/* The last node before `node` in order, or null. `node` itself may be in the list at the
   position of an earlier key, and is passed over. */
static kel_index_node *before(void *root, const kel_index_node *node,
                              e_avl_compare_function compare) {
    kel_index_node *last = NULL;
    for (kel_index_node *at = root; at != NULL && (at == node || compare(at, node) == 0);
         at = next_of(at))
        if (at != node) last = at;
    return last;
}

static kel_index_node *after(void *root, const kel_index_node *last) {
    return last != NULL ? next_of(last) : root;
}

uint32_t e_avl_insert(void *arena, uint32_t tx_id, void **root, kel_index_node *node,
                      uintptr_t *aux, e_avl_compare_function compare) {
    (void)arena, (void)tx_id, (void)aux;
    kel_index_node *const last = before(*root, node, compare);
    kel_index_node *const next = after(*root, last);
    if (next != NULL && compare(next, node) == 1) return 0;
    set_next(node, next);
    if (last != NULL) set_next(last, node);
    else *root = node;
    return 1;
}

/* Follows the links, so that a node whose key was changed is removed too. */
uint32_t e_avl_delete(void *arena, uint32_t tx_id, void **root, kel_index_node *node,
                      uintptr_t *aux, e_avl_compare_function compare) {
    (void)arena, (void)tx_id, (void)aux, (void)compare;
    kel_index_node *last = NULL;
    for (kel_index_node *at = *root; at != node; at = next_of(at)) {
        if (at == NULL) return 0;
        last = at;
    }
    if (last != NULL) set_next(last, next_of(node));
    else *root = next_of(node);
    set_next(node, NULL);
    return 1;
}

kel_index_node *e_avl_search(void *root, const kel_index_node *probe,
                             e_avl_compare_function compare) {
    kel_index_node *const found = after(root, before(root, probe, compare));
    return found != NULL && compare(found, probe) == 1 ? found : NULL;
}

kel_index_node *e_avl_get_first(void *root) { return root; }

kel_index_node *e_avl_get_last(void *root) {
    kel_index_node *last = root;
    while (last != NULL && next_of(last) != NULL) last = next_of(last);
    return last;
}

kel_index_node *e_avl_get_next(void *root, const kel_index_node *node,
                               e_avl_compare_function compare) {
    kel_index_node *at = root;
    while (at != NULL && compare(at, node) != 2) at = next_of(at);
    return at;
}

kel_index_node *e_avl_get_prev(void *root, const kel_index_node *node,
                               e_avl_compare_function compare) {
    return before(root, node, compare);
}

uint32_t e_avl_walk(void *root, e_avl_walk_function callback, void *context) {
    uint32_t result = 0;
    for (kel_index_node *at = root; at != NULL && result == 0;) {
        kel_index_node *const next = next_of(at); /* the callback may delete the node */
        result = callback(at, context);
        at = next;
    }
    return result;
}
