// The platform's list: circular and doubly linked through a head node that is never handed out, so adding
// and taking need no special case for an empty list. A list left zeroed (a global never passed to
// lstInit) counts as empty too.

#include "platform/ContainerApi.h"

// Empties `list`; the nodes it held, if any, are forgotten, not touched.
void lstInit(LstList *list) {
    if (list == nullptr) {
        return;
    }
    list->head.next = &list->head;
    list->head.prev = &list->head;
    list->count = 0;
}

// Appends `node` at the tail of `list`.
void lstAdd(LstList *list, LstNode *node) {
    if (list == nullptr || node == nullptr) {
        return;
    }
    if (list->head.next == nullptr) {
        lstInit(list);
    }
    node->next = &list->head;
    node->prev = list->head.prev;
    list->head.prev->next = node;
    list->head.prev = node;
    ++list->count;
}

// Removes and returns the node at the head of `list`, the one added first, or null when it is empty.
LstNode *lstGet(LstList *list) {
    if (list == nullptr || list->head.next == nullptr || list->head.next == &list->head) {
        return nullptr;
    }
    LstNode *first = list->head.next;
    list->head.next = first->next;
    first->next->prev = &list->head;
    first->next = nullptr;
    first->prev = nullptr;
    --list->count;
    return first;
}
