// The platform's ordered tree: an AVL tree, intrusive, that never allocates. Every node keeps its height
// (a leaf is 1) and the heights of its two subtrees differ by at most one, so a search visits at most about
// 1.44 log2(n) nodes: 2048 clients are no more than 15 levels deep.
//
// Inserting and deleting walk down from the root and remember the links they followed, then rebalance on
// the way back up along those links; no node needs a parent pointer.
//
// A walk in key order asks for the successor of the record it was just handed. The tree remembers where
// that record stands (the nodes from the root down to it) until the next insert or delete, so such a step
// costs a move to the neighbour, not a search from the root. Any other question gets the plain search.

#include <algorithm>
#include <cstdint>

#include "platform/ContainerApi.h"

namespace {

// An AVL tree this deep would need more than 10^20 nodes, more than a 64-bit address space holds; a walk
// that goes deeper is going round a corrupted tree and gives up.
constexpr int kMaxDepth = 96;

int32_t heightOf(const AvlNode *node) {
    return node != nullptr ? node->height : 0;
}

void updateHeight(AvlNode *node) {
    node->height = 1 + std::max(heightOf(node->left), heightOf(node->right));
}

AvlNode *rotateRight(AvlNode *top) {
    AvlNode *pivot = top->left;
    top->left = pivot->right;
    pivot->right = top;
    updateHeight(top);
    updateHeight(pivot);
    return pivot;
}

AvlNode *rotateLeft(AvlNode *top) {
    AvlNode *pivot = top->right;
    top->right = pivot->left;
    pivot->left = top;
    updateHeight(top);
    updateHeight(pivot);
    return pivot;
}

// Brings the subtree at `node` back within one level of balance after one of its subtrees grew or shrank
// by one level; returns the subtree's new root.
AvlNode *rebalance(AvlNode *node) {
    updateHeight(node);
    const int32_t balance = heightOf(node->left) - heightOf(node->right);
    if (balance > 1) {
        if (heightOf(node->left->left) < heightOf(node->left->right)) {
            node->left = rotateLeft(node->left);
        }
        return rotateRight(node);
    }
    if (balance < -1) {
        if (heightOf(node->right->right) < heightOf(node->right->left)) {
            node->right = rotateRight(node->right);
        }
        return rotateLeft(node);
    }
    return node;
}

// The links followed from the root down: links[0] is the root pointer, each next one a child link of the
// node the one before holds.
struct Path {
    AvlNode **links[kMaxDepth];
    int depth = 0;

    bool push(AvlNode **link) {
        if (depth == kMaxDepth) {
            return false;
        }
        links[depth++] = link;
        return true;
    }

    // Rebalances every node on the path, deepest first, each link taking its subtree's new root.
    void rebalanceUpwards() {
        while (depth > 0) {
            --depth;
            *links[depth] = rebalance(*links[depth]);
        }
    }
};

// Where the record last handed out by a walk stands: the nodes from the root down to it, that record last.
// It holds while the tree is unchanged since, which the generation tells: every insert and delete of any
// tree moves it on. The platform's calls come from one thread, so one record of it is enough.
struct WalkPosition {
    const AvlNode *root = nullptr;
    uint64_t generation = 0;
    AvlNode *nodes[kMaxDepth];
    int depth = 0;  // 0: nothing remembered
};

uint64_t treeGeneration = 1;
WalkPosition walk;

void treeChanged() {
    ++treeGeneration;
    walk.depth = 0;
}

// Remembers `depth` nodes from the root of `root` down to the record handed out; returns that record.
AvlNode *remember(const AvlNode *root, int depth) {
    walk.root = root;
    walk.generation = treeGeneration;
    walk.depth = depth;
    return depth > 0 ? walk.nodes[depth - 1] : nullptr;
}

// Goes down to the smallest record under `node`, adding the nodes passed to the remembered position.
bool descendLeftmost(AvlNode *node) {
    for (; node != nullptr; node = node->left) {
        if (walk.depth == kMaxDepth) {
            return false;
        }
        walk.nodes[walk.depth++] = node;
    }
    return true;
}

// The successor of the remembered record, when that record is the one of `key` in the unchanged `root`;
// `found` tells whether the remembered position could answer.
AvlNode *rememberedSuccessor(const AvlNode *root, const void *key, AvlCompare compare, bool &found) {
    found = false;
    if (walk.depth == 0 || walk.root != root || walk.generation != treeGeneration ||
        compare(walk.nodes[walk.depth - 1], key) != 0) {
        return nullptr;
    }
    found = true;
    AvlNode *current = walk.nodes[walk.depth - 1];
    if (current->right != nullptr) {
        if (!descendLeftmost(current->right)) {
            walk.depth = 0;
            found = false;
            return nullptr;
        }
        return walk.nodes[walk.depth - 1];
    }
    // Up until the step that came from a left child: that parent is the next larger record.
    while (--walk.depth > 0) {
        AvlNode *parent = walk.nodes[walk.depth - 1];
        if (parent->left == walk.nodes[walk.depth]) {
            return parent;
        }
    }
    return nullptr;
}

}  // namespace

// Links `node` in at the place of `key` and rebalances; returns 0, or -1 with the tree unchanged when an
// equal key is already there or an argument is null. The node's links and height need no setting up.
int32_t avlInsert(AvlNode **root, AvlNode *node, const void *key, AvlCompare compare) {
    if (root == nullptr || node == nullptr || key == nullptr || compare == nullptr) {
        return -1;
    }
    Path path;
    AvlNode **link = root;
    while (*link != nullptr) {
        const int32_t order = compare(*link, key);
        if (order == 0 || !path.push(link)) {
            return -1;
        }
        link = order < 0 ? &(*link)->left : &(*link)->right;
    }
    node->left = nullptr;
    node->right = nullptr;
    node->height = 1;
    *link = node;
    path.rebalanceUpwards();
    treeChanged();
    return 0;
}

// The record with `key`, or null.
void *avlSearch(AvlNode *root, const void *key, AvlCompare compare) {
    if (key == nullptr || compare == nullptr) {
        return nullptr;
    }
    AvlNode *node = root;
    while (node != nullptr) {
        const int32_t order = compare(node, key);
        if (order == 0) {
            return node;
        }
        node = order < 0 ? node->left : node->right;
    }
    return nullptr;
}

// Unlinks the record with `key`, rebalances and returns the record with its links cleared; null, with the
// tree unchanged, when no record has that key.
void *avlDelete(AvlNode **root, const void *key, AvlCompare compare) {
    if (root == nullptr || key == nullptr || compare == nullptr) {
        return nullptr;
    }
    Path path;
    AvlNode **link = root;
    for (;;) {
        if (*link == nullptr) {
            return nullptr;
        }
        const int32_t order = compare(*link, key);
        if (order == 0) {
            break;
        }
        if (!path.push(link)) {
            return nullptr;
        }
        link = order < 0 ? &(*link)->left : &(*link)->right;
    }
    AvlNode *found = *link;
    if (found->left == nullptr || found->right == nullptr) {
        *link = found->left != nullptr ? found->left : found->right;
    } else {
        // The smallest node of the right subtree, the heir, takes the found node's place. The whole path
        // down to the heir is recorded before anything is changed, so a failure leaves the tree as it was.
        const int foundDepth = path.depth;
        if (!path.push(link)) {
            return nullptr;
        }
        AvlNode **heirLink = &found->right;
        while ((*heirLink)->left != nullptr) {
            if (!path.push(heirLink)) {
                return nullptr;
            }
            heirLink = &(*heirLink)->left;
        }
        AvlNode *heir = *heirLink;
        *heirLink = heir->right;
        heir->left = found->left;
        heir->right = found->right;
        *link = heir;
        // The path went through the found node's right link, which the heir now holds.
        if (path.depth > foundDepth + 1) {
            path.links[foundDepth + 1] = &heir->right;
        }
    }
    path.rebalanceUpwards();
    treeChanged();
    found->left = nullptr;
    found->right = nullptr;
    found->height = 0;
    return found;
}

// The record with the smallest key, or null when the tree is empty. Remembered as the start of a walk.
void *avlMinimumGet(AvlNode *root) {
    walk.depth = 0;
    if (!descendLeftmost(root)) {
        walk.depth = 0;
        AvlNode *node = root;
        while (node->left != nullptr) {
            node = node->left;
        }
        return node;
    }
    return remember(root, walk.depth);
}

// The record with the smallest key strictly greater than `key`, or null. The key need not be in the tree,
// so a walk may delete the record it stands on and still ask for the next one.
void *avlSuccessorGet(AvlNode *root, const void *key, AvlCompare compare) {
    if (key == nullptr || compare == nullptr) {
        return nullptr;
    }
    bool found = false;
    AvlNode *next = rememberedSuccessor(root, key, compare, found);
    if (found) {
        return remember(root, next != nullptr ? walk.depth : 0);
    }
    // The search from the root: the last node where the key sorts before it is the answer, and the nodes
    // passed on the way to it are its position.
    walk.depth = 0;
    int candidateDepth = 0;
    for (AvlNode *node = root; node != nullptr && walk.depth < kMaxDepth;) {
        walk.nodes[walk.depth++] = node;
        if (compare(node, key) < 0) {
            candidateDepth = walk.depth;
            node = node->left;
        } else {
            node = node->right;
        }
    }
    return remember(root, candidateDepth);
}
