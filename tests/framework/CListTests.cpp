// CList and CStringList: order, cursors, stability of elements, life times. CObject: run-time class information.

#include "tarnu/framework/framework.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <vector>

namespace {

using IntList = CList<int, int>;

std::vector<int> Forward(const IntList& list) {
    std::vector<int> values;
    for (POSITION position = list.GetHeadPosition(); position != nullptr;)
        values.push_back(list.GetNext(position));
    return values;
}

std::vector<int> Backward(const IntList& list) {
    std::vector<int> values;
    for (POSITION position = list.GetTailPosition(); position != nullptr;)
        values.push_back(list.GetPrev(position));
    return values;
}

/// Both directions give the same elements, and the count is theirs.
void ExpectList(const std::vector<int>& expected, const IntList& list) {
    EXPECT_EQ(expected, Forward(list));
    EXPECT_EQ((std::vector<int>(expected.rbegin(), expected.rend())), Backward(list));
    EXPECT_EQ(static_cast<INT_PTR>(expected.size()), list.GetCount());
    EXPECT_EQ(list.GetCount(), list.GetSize());
    EXPECT_EQ(expected.empty(), list.IsEmpty() != FALSE);
}

/// Counts its living instances; copying fails on demand.
struct Counted {
    static inline int living = 0;
    static inline bool refuse = false;

    explicit Counted(int number) : value(number) { ++living; }
    Counted(const Counted& other) : value(other.value) {
        if (refuse) throw std::runtime_error("refused");
        ++living;
    }
    Counted& operator=(const Counted&) = default;
    ~Counted() { --living; }
    bool operator==(const Counted& other) const { return value == other.value; }

    int value;
};

TEST(CListOrder, AddsAndRemovesAtBothEnds) {
    IntList list;
    ExpectList({}, list);
    list.AddTail(2);
    list.AddHead(1);
    list.AddTail(3);
    ExpectList({1, 2, 3}, list);
    EXPECT_EQ(1, list.GetHead());
    EXPECT_EQ(3, list.GetTail());
    list.GetHead() = 10;
    EXPECT_EQ(10, list.RemoveHead());
    EXPECT_EQ(3, list.RemoveTail());
    ExpectList({2}, list);
    EXPECT_EQ(2, list.RemoveTail());
    list.AddHead(4);
    ExpectList({4}, list);
}

TEST(CListOrder, InsertsAndRemovesAtPositions) {
    IntList list(2);
    const POSITION two = list.AddTail(2);
    list.InsertBefore(two, 1);
    const POSITION three = list.InsertAfter(two, 3);
    ExpectList({1, 2, 3}, list);
    list.InsertBefore(nullptr, 0);
    list.InsertAfter(nullptr, 4);
    ExpectList({0, 1, 2, 3, 4}, list);
    list.SetAt(three, 30);
    EXPECT_EQ(30, list.GetAt(three));
    list.RemoveAt(two);
    ExpectList({0, 1, 30, 4}, list);
    list.RemoveAt(list.GetHeadPosition());
    list.RemoveAt(list.GetTailPosition());
    ExpectList({1, 30}, list);
}

TEST(CListOrder, JoinsListsAndItself) {
    IntList first;
    first.AddTail(1);
    first.AddTail(2);
    IntList second;
    second.AddTail(3);
    first.AddTail(&second);
    ExpectList({1, 2, 3}, first);
    second.AddHead(&first);
    ExpectList({1, 2, 3, 3}, second);
    first.AddTail(&first);
    ExpectList({1, 2, 3, 1, 2, 3}, first);
    second.AddHead(&second);
    ExpectList({1, 2, 3, 3, 1, 2, 3, 3}, second);
    IntList empty;
    empty.AddTail(&empty);
    empty.AddHead(&empty);
    ExpectList({}, empty);
}

TEST(CListOrder, FindsFromAPosition) {
    IntList list;
    for (const int value : {5, 6, 5, 7})
        list.AddTail(value);
    const POSITION first = list.Find(5);
    ASSERT_EQ(list.GetHeadPosition(), first);
    const POSITION second = list.Find(5, first);
    EXPECT_EQ(list.FindIndex(2), second);
    EXPECT_EQ(nullptr, list.Find(5, second));
    EXPECT_EQ(nullptr, list.Find(8));
    EXPECT_EQ(nullptr, list.Find(7, list.GetTailPosition()));
    EXPECT_EQ(list.GetTailPosition(), list.FindIndex(3));
    EXPECT_EQ(nullptr, list.FindIndex(4));
    EXPECT_EQ(nullptr, list.FindIndex(-1));
}

TEST(CListNodes, StayWhereTheyAreWhileOthersComeAndGo) {
    for (const INT_PTR blockSize : {-1, 0, 1, 3, 1000}) {
        IntList list(blockSize);
        std::vector<std::pair<POSITION, int*>> kept;
        for (int value = 0; value < 100; ++value) {
            const POSITION position = list.AddTail(value);
            kept.emplace_back(position, &list.GetAt(position));
        }
        for (std::size_t index = 0; index < kept.size(); index += 2)
            list.RemoveAt(kept[index].first);
        for (int value = 0; value < 200; ++value)
            list.AddHead(-value);
        for (std::size_t index = 1; index < kept.size(); index += 2) {
            EXPECT_EQ(static_cast<int>(index), list.GetAt(kept[index].first));
            EXPECT_EQ(kept[index].second, &list.GetAt(kept[index].first)) << blockSize;
        }
        EXPECT_EQ(250, list.GetCount());
    }
}

TEST(CListNodes, AreReusedBeforeANewBlockIsTaken) {
    IntList list(4);
    list.AddTail(0);
    const POSITION removed = list.AddTail(1);
    list.AddTail(2);
    list.RemoveAt(removed);
    EXPECT_EQ(removed, list.AddHead(3));
    ExpectList({3, 0, 2}, list);
}

TEST(CListLifeTime, EveryElementEndsOnce) {
    Counted::living = 0;
    {
        CList<Counted> list(3);
        for (int value = 0; value < 10; ++value)
            list.AddTail(Counted(value));
        EXPECT_EQ(10, Counted::living);
        EXPECT_EQ(0, list.RemoveHead().value);
        list.RemoveAt(list.FindIndex(4));
        EXPECT_EQ(8, Counted::living);
        list.RemoveAll();
        EXPECT_EQ(0, Counted::living);
        list.RemoveAll();
        list.AddTail(Counted(1));
        EXPECT_EQ(1, list.GetHead().value);
    }
    EXPECT_EQ(0, Counted::living);
}

TEST(CListLifeTime, AFailedCopyLeavesTheListAsItWas) {
    Counted::living = 0;
    CList<Counted> list(2);
    const Counted value(7);
    list.AddTail(value);
    Counted::refuse = true;
    EXPECT_THROW(list.AddTail(value), std::runtime_error);
    EXPECT_THROW(list.AddHead(value), std::runtime_error);
    EXPECT_THROW(list.InsertAfter(list.GetHeadPosition(), value), std::runtime_error);
    Counted::refuse = false;
    EXPECT_EQ(1, list.GetCount());
    EXPECT_EQ(2, Counted::living);
    list.AddTail(value);
    list.AddTail(value);
    EXPECT_EQ(3, list.GetCount());
}

TEST(CListLifeTime, AnElementOfTheListMayBeAdded) {
    CStringList list(1);
    list.AddTail(L"first");
    for (int count = 0; count < 20; ++count)
        list.AddHead(list.GetTail());
    EXPECT_EQ(21, list.GetCount());
    EXPECT_STREQ(L"first", list.GetHead());
}

TEST(CListLifeTime, AnImpossibleBlockSizeFailsCleanly) {
    IntList list(PTRDIFF_MAX);
    EXPECT_THROW(list.AddTail(1), std::bad_alloc);
    ExpectList({}, list);
}

TEST(CStringListBasics, HoldsStrings) {
    CStringList list;
    list.AddTail(L"one");
    list.AddTail(CString(L"two"));
    EXPECT_EQ(list.GetTailPosition(), list.Find(L"two"));
    EXPECT_EQ(nullptr, list.Find(L"TWO"));
    CStringList joined;
    joined.AddTail(&list);
    EXPECT_EQ(list.GetHead().GetString(), joined.GetHead().GetString()) << "strings are shared, not copied";
}

// Run-time class information

TEST(CObjectClass, KnowsItsLine) {
    const CException exception;
    const CFileException fileException;
    const CFile file;
    const CStdioFile stdioFile;
    const CStringList list;
    const CWnd window;
    struct : CObject {
    } plain;
    const struct {
        const CObject& object;
        const char* name;
        const CRuntimeClass* base;
    } cases[] = {
        {exception, "CException", RUNTIME_CLASS(CObject)}, {fileException, "CFileException", RUNTIME_CLASS(CException)},
        {file, "CFile", RUNTIME_CLASS(CObject)},           {stdioFile, "CStdioFile", RUNTIME_CLASS(CFile)},
        {list, "CStringList", RUNTIME_CLASS(CObject)},     {window, "CWnd", RUNTIME_CLASS(CObject)},
        {plain, "CObject", RUNTIME_CLASS(CObject)}};
    for (const auto& test : cases) {
        EXPECT_STREQ(test.name, test.object.GetRuntimeClass()->m_lpszClassName);
        EXPECT_TRUE(test.object.IsKindOf(test.base)) << test.name;
        test.object.AssertValid();
    }
    EXPECT_TRUE(stdioFile.IsKindOf(RUNTIME_CLASS(CObject)));
    EXPECT_FALSE(stdioFile.IsKindOf(RUNTIME_CLASS(CWnd)));
    EXPECT_FALSE(file.IsKindOf(RUNTIME_CLASS(CStdioFile))) << "a base is not what is derived from it";
    EXPECT_EQ(static_cast<int>(sizeof(CFile)), file.GetRuntimeClass()->m_nObjectSize);
}

} // namespace
