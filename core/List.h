// Doubly linked list that owns its nodes but never the values in them.
//
// Users walk head/next or tail/prev directly. Nodes are counted engine allocations.
#pragma once

#include <cstdint>

#include "core/Accounting.h"

namespace kesto {

template <class T>
struct ListNode {
    T value;
    ListNode* prev;
    ListNode* next;
};

template <class T>
class List {
  public:
    using Node = ListNode<T>;

    Node* head = nullptr;
    Node* tail = nullptr;
    int32_t count = 0;

    List() = default;
    ~List() { clear(); }
    List(const List&) = delete;
    List& operator=(const List&) = delete;

    bool push_front(const T& value) {
        Node* node = NewObject<Node>(Node{value, nullptr, head});
        if (node == nullptr) {
            return false;
        }
        if (head != nullptr) {
            head->prev = node;
        } else {
            tail = node;
        }
        head = node;
        ++count;
        return true;
    }

    bool push_back(const T& value) {
        Node* node = NewObject<Node>(Node{value, tail, nullptr});
        if (node == nullptr) {
            return false;
        }
        if (tail != nullptr) {
            tail->next = node;
        } else {
            head = node;
        }
        tail = node;
        ++count;
        return true;
    }

    void pop_back() {
        Node* node = tail;
        if (node == nullptr) {
            return;
        }
        tail = node->prev;
        if (tail != nullptr) {
            tail->next = nullptr;
        } else {
            head = nullptr;
        }
        DeleteObject(node);
        --count;
    }

    // Unlinks and deletes one node of this list.
    void erase(Node* node) {
        (node->prev != nullptr ? node->prev->next : head) = node->next;
        (node->next != nullptr ? node->next->prev : tail) = node->prev;
        DeleteObject(node);
        --count;
    }

    void clear() {
        Node* node = head;
        while (node != nullptr) {
            Node* next = node->next;
            DeleteObject(node);
            node = next;
        }
        head = nullptr;
        tail = nullptr;
        count = 0;
    }

    // Stable in-place quicksort on the nodes. The pivot is a segment's first node; nodes that do
    // not compare less than it follow it in their input order, which makes the sort stable.
    // Pending segments are kept in the nodes' own prev links (rebuilt at the end), so the sort
    // neither allocates nor recurses. An already sorted list costs n(n-1)/2 comparisons; the lists
    // are short and stability matters more.
    template <class Less>
    void sortByCompareFunction(Less less) {
        if (count < 2) {
            return;
        }
        // The segment being sorted runs from `first` up to, not including, `end`; `pred` is the
        // node before it (null: the segment starts the list). A pending entry is a pivot already
        // in its final place: its next is the first node of its unsorted upper chain, its prev
        // the entry below it on the stack, and the upper chain's first prev holds the chain end.
        Node* pred = nullptr;
        Node* first = head;
        Node* end = nullptr;
        Node* pending = nullptr;
        for (;;) {
            if (first == end || first->next == end) {
                if (pending == nullptr) {
                    break;
                }
                pred = pending;
                pending = pred->prev;
                first = pred->next;
                end = first->prev;
                continue;
            }
            Node* pivot = first;
            Node* lowerFirst = nullptr;
            Node* lowerLast = nullptr;
            Node* upperFirst = nullptr;
            Node* upperLast = nullptr;
            for (Node* node = pivot->next; node != end;) {
                Node* next = node->next;
                if (less(node->value, pivot->value)) {
                    (lowerLast != nullptr ? lowerLast->next : lowerFirst) = node;
                    lowerLast = node;
                } else {
                    (upperLast != nullptr ? upperLast->next : upperFirst) = node;
                    upperLast = node;
                }
                node = next;
            }
            if (upperLast != nullptr) {
                upperLast->next = end;
            }
            pivot->next = upperFirst != nullptr ? upperFirst : end;
            Node* segmentStart = pivot;
            if (lowerFirst != nullptr) {
                lowerLast->next = pivot;
                segmentStart = lowerFirst;
            }
            (pred != nullptr ? pred->next : head) = segmentStart;

            if (lowerFirst == nullptr) {
                pred = pivot;
                first = pivot->next;
            } else {
                if (upperFirst != nullptr) {
                    upperFirst->prev = end;
                    pivot->prev = pending;
                    pending = pivot;
                }
                first = lowerFirst;
                end = pivot;
            }
        }
        Node* previous = nullptr;
        for (Node* node = head; node != nullptr; node = node->next) {
            node->prev = previous;
            previous = node;
        }
        tail = previous;
    }
};

}  // namespace kesto
