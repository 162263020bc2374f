#pragma once
// The platform's ordered tree and list containers. A node header sits at the start of the record that it
// links; the calls that return a record return the address of its node header.

#include <cstdint>

extern "C" {

struct AvlNode {
    AvlNode *left;
    AvlNode *right;
    int32_t height;
};

struct LstNode {
    LstNode *next;
    LstNode *prev;
};

struct LstList {
    LstNode head;
    uint32_t count;
};

// Compares the record `entry` with `key`: < 0 when the key sorts before the record, > 0 after, 0 equal.
typedef int32_t (*AvlCompare)(const void *entry, const void *key);

// 0 when `node` was linked in under `key`; -1, the tree unchanged, when an equal key is already there.
int32_t avlInsert(AvlNode **root, AvlNode *node, const void *key, AvlCompare compare);
// The record with `key`, or null.
void *avlSearch(AvlNode *root, const void *key, AvlCompare compare);
// Unlinks and returns the record with `key`, or null.
void *avlDelete(AvlNode **root, const void *key, AvlCompare compare);
// The record with the smallest key, or null when the tree is empty.
void *avlMinimumGet(AvlNode *root);
// The record with the smallest key greater than `key`, which need not be in the tree.
void *avlSuccessorGet(AvlNode *root, const void *key, AvlCompare compare);

void lstInit(LstList *list);
// Appends `node` at the tail.
void lstAdd(LstList *list, LstNode *node);
// Removes and returns the node at the head, the one added first, or null when the list is empty.
LstNode *lstGet(LstList *list);
}
