/// @file
/// CList: the framework's doubly linked list, and POSITION, its cursor.
#ifndef TARNU_FRAMEWORK_BUILTIN_CLIST_H
#define TARNU_FRAMEWORK_BUILTIN_CLIST_H

#include "tarnu/framework/builtin/CObject.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

/// The type behind POSITION; never defined.
struct __POSITION;
/// A cursor into a list; null stands before the first and behind the last element.
using POSITION = __POSITION*;

/// A doubly linked list of TYPE whose nodes are allocated in blocks and kept for reuse until the list is emptied.
/// Element addresses are stable. Not copyable. No locking: one thread at a time.
template <class TYPE, class ARG_TYPE = const TYPE&>
class CList : public CObject {
public:
    /// An empty list.
    /// @param blockSize nodes that are allocated at a time; less than 1 counts as 1
    explicit CList(INT_PTR blockSize = 10) noexcept : m_blockSize(blockSize > 0 ? blockSize : 1) {}
    ~CList() override { RemoveAll(); }

    /// @return the number of elements
    INT_PTR GetCount() const noexcept { return m_count; }
    /// @return the number of elements
    INT_PTR GetSize() const noexcept { return m_count; }
    /// @return whether there are no elements
    BOOL IsEmpty() const noexcept { return m_count == 0; }

    /// The list must not be empty. @return the first element, in the list
    TYPE& GetHead() noexcept { return m_head->value; }
    /// The list must not be empty. @return the first element, in the list
    const TYPE& GetHead() const noexcept { return m_head->value; }
    /// The list must not be empty. @return the last element, in the list
    TYPE& GetTail() noexcept { return m_tail->value; }
    /// The list must not be empty. @return the last element, in the list
    const TYPE& GetTail() const noexcept { return m_tail->value; }

    /// Removes the first element; the list must not be empty. @return what it was
    TYPE RemoveHead() {
        TYPE value = std::move(m_head->value);
        Unlink(m_head);
        return value;
    }
    /// Removes the last element; the list must not be empty. @return what it was
    TYPE RemoveTail() {
        TYPE value = std::move(m_tail->value);
        Unlink(m_tail);
        return value;
    }
    /// Adds an element in front of all others.
    /// @param value is copied; may be an element of this list
    /// @return the new element's position
    POSITION AddHead(ARG_TYPE value) { return ToPosition(Link(NewNode(value), nullptr, m_head)); }
    /// Adds an element behind all others.
    /// @param value is copied; may be an element of this list
    /// @return the new element's position
    POSITION AddTail(ARG_TYPE value) { return ToPosition(Link(NewNode(value), m_tail, nullptr)); }
    /// Adds copies of all elements of a list behind all others, in their order.
    /// @param other stays as it is; may be this list; not null
    void AddTail(CList* other) {
        POSITION position = other->GetHeadPosition();
        for (INT_PTR count = other->GetCount(); count > 0; --count)
            AddTail(other->GetNext(position));
    }
    /// Adds copies of all elements of a list in front of all others, in their order.
    /// @param other stays as it is; may be this list; not null
    void AddHead(CList* other) {
        POSITION position = other->GetTailPosition();
        for (INT_PTR count = other->GetCount(); count > 0; --count)
            AddHead(other->GetPrev(position));
    }
    /// Destroys all elements and frees their blocks.
    void RemoveAll() noexcept {
        while (m_head != nullptr) {
            Node* node = m_head;
            m_head = node->next;
            std::destroy_at(&node->value);
        }
        m_tail = nullptr;
        m_free = nullptr;
        m_count = 0;
        while (m_blocks != nullptr) {
            Block* block = m_blocks;
            m_blocks = block->next;
            ::operator delete(block);
        }
    }

    /// @return the position of the first element; null without any
    POSITION GetHeadPosition() const noexcept { return ToPosition(m_head); }
    /// @return the position of the last element; null without any
    POSITION GetTailPosition() const noexcept { return ToPosition(m_tail); }
    /// The element at a position, which moves on.
    /// @param position in: not null; out: the next element's, null behind the last
    /// @return the element, in the list
    TYPE& GetNext(POSITION& position) noexcept { return Step(position, &Node::next)->value; }
    /// The same for reading. @param position as there @return the element, in the list
    const TYPE& GetNext(POSITION& position) const noexcept { return Step(position, &Node::next)->value; }
    /// The element at a position, which moves back.
    /// @param position in: not null; out: the previous element's, null before the first
    /// @return the element, in the list
    TYPE& GetPrev(POSITION& position) noexcept { return Step(position, &Node::previous)->value; }
    /// The same for reading. @param position as there @return the element, in the list
    const TYPE& GetPrev(POSITION& position) const noexcept { return Step(position, &Node::previous)->value; }

    /// The element at a position.
    /// @param position not null
    /// @return the element, in the list
    TYPE& GetAt(POSITION position) noexcept { return ToNode(position)->value; }
    /// The same for reading. @param position not null @return the element, in the list
    const TYPE& GetAt(POSITION position) const noexcept { return ToNode(position)->value; }
    /// Assigns to the element at a position.
    /// @param position not null
    /// @param value    is copied
    void SetAt(POSITION position, ARG_TYPE value) { ToNode(position)->value = value; }
    /// Removes the element at a position. Other positions stay good.
    /// @param position not null
    void RemoveAt(POSITION position) noexcept { Unlink(ToNode(position)); }
    /// Adds an element in front of another.
    /// @param position the other one's; null for in front of all
    /// @param value    is copied
    /// @return the new element's position
    POSITION InsertBefore(POSITION position, ARG_TYPE value) {
        if (position == nullptr) return AddHead(value);
        Node* next = ToNode(position);
        return ToPosition(Link(NewNode(value), next->previous, next));
    }
    /// Adds an element behind another.
    /// @param position the other one's; null for behind all
    /// @param value    is copied
    /// @return the new element's position
    POSITION InsertAfter(POSITION position, ARG_TYPE value) {
        if (position == nullptr) return AddTail(value);
        Node* previous = ToNode(position);
        return ToPosition(Link(NewNode(value), previous, previous->next));
    }
    /// Looks for an element from the front on.
    /// @param value      compared with ==
    /// @param startAfter the position behind which to begin; null to begin at the first element
    /// @return the position of the first equal element; null when there is none
    POSITION Find(ARG_TYPE value, POSITION startAfter = nullptr) const {
        Node* node = startAfter == nullptr ? m_head : ToNode(startAfter)->next;
        while (node != nullptr && !(node->value == value))
            node = node->next;
        return ToPosition(node);
    }
    /// The position of an element by number; takes time in proportion to it.
    /// @param index zero-based
    /// @return null when it is out of range
    POSITION FindIndex(INT_PTR index) const noexcept {
        if (index < 0 || index >= m_count) return nullptr;
        Node* node = m_head;
        while (index-- > 0)
            node = node->next;
        return ToPosition(node);
    }

private:
    struct Node {
        Node* next;
        Node* previous;
        TYPE value;
    };
    struct Block {
        Block* next;
    };
    /// A node's storage without its value: what stands in the free chain.
    struct FreeNode {
        FreeNode* next;
    };

    static POSITION ToPosition(Node* node) noexcept { return reinterpret_cast<POSITION>(node); }
    static Node* ToNode(POSITION position) noexcept { return reinterpret_cast<Node*>(position); }
    static Node* Step(POSITION& position, Node* Node::*link) noexcept {
        Node* node = ToNode(position);
        position = ToPosition(node->*link);
        return node;
    }

    Node* NewNode(ARG_TYPE value) {
        if (m_free == nullptr) Grow();
        FreeNode* slot = m_free;
        FreeNode* rest = slot->next; // NOLINT(clang-analyzer-core.NullDereference): Grow throws or fills the chain
        Node* node = reinterpret_cast<Node*>(slot);
        ::new (static_cast<void*>(&node->value)) TYPE(value); // a throw leaves the slot in the chain
        m_free = rest;
        return node;
    }
    void Grow() {
        static_assert(alignof(Node) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
        constexpr std::size_t offset = (sizeof(Block) + alignof(Node) - 1) / alignof(Node) * alignof(Node);
        const auto count = static_cast<std::size_t>(m_blockSize);
        if (count > (PTRDIFF_MAX - offset) / sizeof(Node)) throw std::bad_array_new_length();
        auto* block = static_cast<Block*>(::operator new(offset + count * sizeof(Node)));
        block->next = m_blocks;
        m_blocks = block;
        auto* storage = reinterpret_cast<std::byte*>(block) + offset;
        for (std::size_t index = count; index-- > 0;) {
            m_free = ::new (static_cast<void*>(storage + index * sizeof(Node))) FreeNode{m_free};
        }
    }
    Node* Link(Node* node, Node* previous, Node* next) noexcept {
        node->previous = previous;
        node->next = next;
        (previous != nullptr ? previous->next : m_head) = node;
        (next != nullptr ? next->previous : m_tail) = node;
        ++m_count;
        return node;
    }
    void Unlink(Node* node) noexcept {
        (node->previous != nullptr ? node->previous->next : m_head) = node->next;
        (node->next != nullptr ? node->next->previous : m_tail) = node->previous;
        std::destroy_at(&node->value);
        m_free = ::new (static_cast<void*>(node)) FreeNode{m_free};
        if (--m_count == 0) RemoveAll();
    }

    Node* m_head = nullptr;
    Node* m_tail = nullptr;
    FreeNode* m_free = nullptr;
    Block* m_blocks = nullptr;
    INT_PTR m_count = 0;
    INT_PTR m_blockSize;
};

#endif // TARNU_FRAMEWORK_BUILTIN_CLIST_H
