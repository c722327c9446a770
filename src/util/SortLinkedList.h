#pragma once
// Stable merge sort of a singly linked list whose nodes are joined by their
// `next` member. The item list, the filter lists and the recent profiles all
// keep their order this way, so that equal keys stay in list order.
namespace detail {

template <typename Node, typename Before>
Node* MergeSortedLists(Node* a, Node* b, const Before& before) {
  Node* merged = nullptr;
  Node** tail = &merged;
  while (a != nullptr && b != nullptr) {
    // The second list's node goes first only when it is strictly before.
    if (before(*b, *a)) {
      *tail = b;
      b = b->next;
    } else {
      *tail = a;
      a = a->next;
    }
    tail = &(*tail)->next;
  }
  *tail = a != nullptr ? a : b;
  return merged;
}

}  // namespace detail

// Sorts the list from head; before(x, y) is true when x must come strictly
// before y. Answers the new head. The depth of recursion is the logarithm of
// the length.
template <typename Node, typename Before>
Node* SortLinkedList(Node* head, const Before& before) {
  if (head == nullptr || head->next == nullptr) return head;
  Node* slow = head;
  Node* fast = head->next;
  while (fast != nullptr && fast->next != nullptr) {
    slow = slow->next;
    fast = fast->next->next;
  }
  Node* second = slow->next;
  slow->next = nullptr;
  return detail::MergeSortedLists(SortLinkedList(head, before), SortLinkedList(second, before), before);
}
