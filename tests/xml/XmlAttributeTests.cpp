// Typed attributes: defaults, presence, limits, and numbers under the user's separators.

#include "ForwardingDom.h"
#include "tarnu/xml/OrvaXml.h"
#include "tarnu/xml/XmlNumbers.h"

#include <atomic>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace tarnu::test;

class XmlAttributes : public ::testing::Test {
protected:
    void SetUp() override {
        m_document = RealDocument(L"<r/>");
        m_element = RootOf(m_document.Get());
    }

    /// The attribute as it stands in the document.
    std::wstring Text(const wchar_t* name) { return OrvaXml::GetString(m_element.Get(), name).GetString(); }
    void SetText(const wchar_t* name, const wchar_t* text) {
        ASSERT_EQ(S_OK, OrvaXml::SetString(m_element.Get(), name, text));
    }

    ComScope m_com;
    ComPtr<IXMLDOMDocument> m_document;
    ComPtr<IXMLDOMElement> m_element;
};

std::wstring Separator(LCTYPE kind) {
    wchar_t text[8] = {};
    EXPECT_NE(0, ::GetLocaleInfoW(LOCALE_USER_DEFAULT, kind, text, 8));
    return text;
}

/// The user's separators for a scope.
class Separators {
public:
    Separators(const wchar_t* decimal, const wchar_t* thousands)
        : m_decimal(Separator(LOCALE_SDECIMAL)), m_thousands(Separator(LOCALE_STHOUSAND)) {
        Set(decimal, thousands);
    }
    ~Separators() { Set(m_decimal.c_str(), m_thousands.c_str()); }
    Separators(const Separators&) = delete;
    Separators& operator=(const Separators&) = delete;

private:
    static void Set(const wchar_t* decimal, const wchar_t* thousands) {
        EXPECT_TRUE(::SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, decimal));
        EXPECT_TRUE(::SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_STHOUSAND, thousands));
    }

    std::wstring m_decimal, m_thousands;
};

/// An element that can be read but not written.
class ReadOnlyElement : public ForwardingElement {
public:
    using ForwardingElement::ForwardingElement;
    STDMETHODIMP setAttribute(BSTR, VARIANT) override { return E_ACCESSDENIED; }
};

/// An attribute whose value has a type of its own, as in a document with data types, or cannot be read.
class TypedAttribute : public ForwardingNode<IXMLDOMAttribute> {
public:
    TypedAttribute(ComPtr<IXMLDOMAttribute> inner, VARIANT* value)
        : ForwardingNode(std::move(inner), IID_IXMLDOMAttribute), m_value(value) {}
    STDMETHODIMP get_nodeValue(VARIANT* value) override {
        return m_value != nullptr ? ::VariantCopy(value, m_value) : E_UNEXPECTED;
    }
    STDMETHODIMP get_name(BSTR* name) override { return m_inner->get_name(name); }
    STDMETHODIMP get_value(VARIANT* value) override { return get_nodeValue(value); }
    STDMETHODIMP put_value(VARIANT value) override { return m_inner->put_value(value); }

private:
    VARIANT* m_value;
};

/// An element with typed attributes.
class TypedElement : public ForwardingElement {
public:
    using ForwardingElement::ForwardingElement;
    STDMETHODIMP getAttributeNode(BSTR name, IXMLDOMAttribute** result) override {
        ComPtr<IXMLDOMAttribute> attribute;
        const HRESULT status = m_inner->getAttributeNode(name, attribute.GetAddressOf());
        if (attribute) *result = new TypedAttribute(attribute, value);
        return status;
    }

    VARIANT* value = nullptr;
};

} // namespace

TEST_F(XmlAttributes, StoreAndReturnEveryType) {
    IXMLDOMElement* const element = m_element.Get();
    for (const wchar_t* text : {L"", L"plain", L"<&\"'>", L"\xE4\x0416\xD83D\xDE00"}) {
        EXPECT_EQ(S_OK, OrvaXml::SetString(element, L"s", text));
        EXPECT_EQ(text, OrvaXml::GetString(element, L"s"));
    }
    // Each under a name of another length, around what a buffer might hold.
    const auto expectStored = [&](std::size_t length, const auto& set, const auto& get, const auto& values) {
        const std::wstring name(length, L'n');
        for (const auto value : values) {
            EXPECT_EQ(S_OK, set(element, name.c_str(), value));
            EXPECT_EQ(value, get(element, name.c_str()));
            EXPECT_EQ(std::to_wstring(value), Text(name.c_str()));
        }
    };
    expectStored(63, OrvaXml::SetInt16, OrvaXml::GetInt16,
                 std::initializer_list<std::int16_t>{INT16_MIN, -1, INT16_MAX});
    expectStored(64, OrvaXml::SetInt32, OrvaXml::GetInt32,
                 std::initializer_list<std::int32_t>{INT32_MIN, 0, INT32_MAX});
    expectStored(65, OrvaXml::SetInt64, OrvaXml::GetInt64,
                 std::initializer_list<std::int64_t>{INT64_MIN, -1, INT64_MAX});
    expectStored(5000, OrvaXml::SetUInt32, OrvaXml::GetUInt32,
                 std::initializer_list<std::uint32_t>{0, 1u << 31, UINT32_MAX});
    for (const bool value : {true, false}) {
        EXPECT_EQ(S_OK, OrvaXml::SetBool(element, L"b", value));
        EXPECT_EQ(value, OrvaXml::GetBool(element, L"b"));
        EXPECT_EQ(value ? L"-1" : L"0", Text(L"b"));
    }
    for (const double value : {0.0, -12345.678, 1e15}) {
        EXPECT_EQ(S_OK, OrvaXml::SetDouble(element, L"d", value));
        EXPECT_EQ(value, OrvaXml::GetDouble(element, L"d"));
    }
}

TEST_F(XmlAttributes, ReadValuesOfOtherTypes) {
    VARIANT real, integer, null;
    real.vt = VT_R8;
    real.dblVal = 2.5;
    integer.vt = VT_I4;
    integer.lVal = 7;
    null.vt = VT_NULL;
    SetText(L"a", L"1");
    const auto element = tarnu::support::Adopt(new TypedElement(m_element));
    const struct {
        VARIANT* value;
        bool isNumber;
        double number;
        std::int32_t rounded;
    } cases[] = {{&real, true, 2.5, 2}, {&integer, true, 7, 7}, {&null, false, 99, 0}, {nullptr, false, 99, 0}};
    for (const auto& test : cases) {
        element->value = test.value;
        double number = 99;
        EXPECT_EQ(test.isNumber, OrvaXml::TryGetDouble(element.Get(), L"a", number));
        EXPECT_EQ(test.number, number);
        EXPECT_EQ(test.isNumber ? test.number : 0, OrvaXml::GetDouble(element.Get(), L"a"));
        EXPECT_EQ(test.rounded, OrvaXml::GetInt32(element.Get(), L"a"));
    }
}

TEST_F(XmlAttributes, GiveDefaultsAndReportPresence) {
    IXMLDOMElement* const element = m_element.Get();
    SetText(L"word", L"north");
    SetText(L"wide", L"99999999999999999999");
    SetText(L"empty", L"");
    const struct {
        IXMLDOMElement* element;
        const wchar_t* name;
        bool isText;
    } cases[] = {{nullptr, L"word", false}, {element, L"missing", false}, {element, L"", false},
                 {element, L"word", true},  {element, L"wide", true},     {element, L"empty", true}};
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        CString text = L"junk";
        std::int16_t i2 = 7;
        std::int32_t i4 = 7;
        std::int64_t i8 = 7;
        std::uint32_t u4 = 7;
        double number = 7;
        EXPECT_EQ(test.isText, OrvaXml::TryGetString(test.element, test.name, text));
        EXPECT_EQ(!test.isText, text == L"junk");
        EXPECT_FALSE(OrvaXml::TryGetInt16(test.element, test.name, i2));
        EXPECT_FALSE(OrvaXml::TryGetInt32(test.element, test.name, i4));
        EXPECT_FALSE(OrvaXml::TryGetInt64(test.element, test.name, i8));
        EXPECT_FALSE(OrvaXml::TryGetUInt32(test.element, test.name, u4));
        EXPECT_EQ(7, i2 + 0);
        EXPECT_EQ(7, i4);
        EXPECT_EQ(7, i8);
        EXPECT_EQ(7u, u4);
        EXPECT_EQ(0, OrvaXml::GetInt16(test.element, test.name));
        EXPECT_EQ(0, OrvaXml::GetInt32(test.element, test.name));
        EXPECT_EQ(0, OrvaXml::GetInt64(test.element, test.name));
        EXPECT_EQ(0u, OrvaXml::GetUInt32(test.element, test.name));
        if (std::wstring(test.name) == L"wide") continue; // a number too large for integers alone
        bool flag = true;
        EXPECT_FALSE(OrvaXml::TryGetBool(test.element, test.name, flag));
        EXPECT_TRUE(flag);
        EXPECT_FALSE(OrvaXml::GetBool(test.element, test.name));
        EXPECT_FALSE(OrvaXml::TryGetDouble(test.element, test.name, number));
        EXPECT_EQ(7, number);
        EXPECT_EQ(0.0, OrvaXml::GetDouble(test.element, test.name));
    }
    SetText(L"n", L"40000");
    EXPECT_EQ(0, OrvaXml::GetInt16(element, L"n")) << "beyond 16 bits";
    EXPECT_EQ(40000, OrvaXml::GetInt32(element, L"n"));
    SetText(L"n", L"-1");
    EXPECT_EQ(0u, OrvaXml::GetUInt32(element, L"n")) << "below the unsigned range";
    for (const wchar_t* text : {L"true", L"True", L"-1", L"2"}) {
        SetText(L"b", text);
        EXPECT_TRUE(OrvaXml::GetBool(element, L"b")) << text;
    }
    EXPECT_TRUE(::OrvaIsWindowsXPOrLater());
}

TEST_F(XmlAttributes, SettersPassOnTheDocumentsAnswer) {
    SetText(L"a", L"1.5");
    const auto readOnly = tarnu::support::Adopt<IXMLDOMElement>(new ReadOnlyElement(m_element));
    for (const auto& [element, expected] :
         {std::pair(readOnly.Get(), E_ACCESSDENIED), std::pair(static_cast<IXMLDOMElement*>(nullptr), E_POINTER)}) {
        for (const HRESULT result : {OrvaXml::SetString(element, L"a", L"2"), OrvaXml::SetBool(element, L"a", true),
                                     OrvaXml::SetInt16(element, L"a", 2), OrvaXml::SetInt32(element, L"a", 2),
                                     OrvaXml::SetInt64(element, L"a", 2), OrvaXml::SetUInt32(element, L"a", 2),
                                     OrvaXml::SetDouble(element, L"a", 2), OrvaXml::SetXmlDouble(element, L"a", 2)})
            EXPECT_EQ(expected, result);
    }
    EXPECT_EQ(1.5, OrvaXml::GetDouble(readOnly.Get(), L"a"));
}

TEST_F(XmlAttributes, DoublesUnderOtherSeparators) {
    const struct {
        const wchar_t *decimal, *thousands;
    } cases[] = {{L",", L"."}, {L".", L"'"}, {L",", L","}, {L"abc", L" "}, {L".x", L" "}, {L".", L","}};
    for (const auto& test : cases) {
        SCOPED_TRACE(testing::Message() << test.decimal << " and " << test.thousands);
        const Separators separators(test.decimal, test.thousands);
        IXMLDOMElement* const element = m_element.Get();
        const auto unchanged = [&] {
            EXPECT_EQ(test.decimal, Separator(LOCALE_SDECIMAL));
            EXPECT_EQ(test.thousands, Separator(LOCALE_STHOUSAND));
        };
        for (const auto& [text, number] : {std::pair(L"1,234.5", 1234.5), std::pair(L"no number", 0.0)}) {
            SetText(L"d", text);
            EXPECT_EQ(number, OrvaXml::GetDouble(element, L"d"));
            unchanged();
        }

        // The plain setter writes as the user does, the one for XML never.
        EXPECT_EQ(S_OK, OrvaXml::SetDouble(element, L"d", 1.5));
        EXPECT_EQ(std::wstring(L"1") + test.decimal + L"5", Text(L"d"));
        EXPECT_EQ(S_OK, OrvaXml::SetXmlDouble(element, L"d", 1.5));
        EXPECT_EQ(L"1.5", Text(L"d"));
        double value = 0;
        EXPECT_TRUE(OrvaXml::TryGetDouble(element, L"d", value));
        EXPECT_EQ(1.5, value);
        unchanged();
    }
}

// Each conversion borrows the user's separators for its time: none may take those of another one for the user's.
TEST_F(XmlAttributes, DoublesOnManyThreadsUnderOtherSeparators) {
    const Separators separators(L",", L".");
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&wrong] {
            const ComScope com;
            const ComPtr<IXMLDOMDocument> document = RealDocument(L"<r d='1,234.5'/>");
            const ComPtr<IXMLDOMElement> element = RootOf(document.Get());
            for (int round = 0; round < 2000; ++round)
                if (OrvaXml::GetDouble(element.Get(), L"d") != 1234.5) ++wrong;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(L",", Separator(LOCALE_SDECIMAL));
    EXPECT_EQ(L".", Separator(LOCALE_STHOUSAND));
}

TEST_F(XmlAttributes, XmlDoublesAreExact) {
    const auto bits = [](double value) {
        std::uint64_t pattern;
        std::memcpy(&pattern, &value, sizeof(pattern));
        return pattern;
    };
    using Limits = std::numeric_limits<double>;
    std::vector<double> values = {0.0, -0.0, 5e-324, Limits::min(), Limits::max(), 1e23, Limits::infinity()};
    std::mt19937_64 random(20240229);
    while (values.size() < 2000) {
        const std::uint64_t pattern = random();
        double value;
        std::memcpy(&value, &pattern, sizeof(value));
        if (std::isfinite(value)) values.push_back(value);
    }
    for (const double value : values) {
        ASSERT_EQ(S_OK, OrvaXml::SetXmlDouble(m_element.Get(), L"d", value));
        double read = 7;
        ASSERT_TRUE(OrvaXml::TryGetDouble(m_element.Get(), L"d", read)) << Text(L"d");
        ASSERT_EQ(bits(value), bits(read)) << Text(L"d");
    }
    ASSERT_EQ(S_OK, OrvaXml::SetXmlDouble(m_element.Get(), L"d", -Limits::infinity()));
    EXPECT_EQ(L"-INF", Text(L"d"));
    ASSERT_EQ(S_OK, OrvaXml::SetXmlDouble(m_element.Get(), L"d", Limits::quiet_NaN()));
    EXPECT_EQ(L"NaN", Text(L"d"));
    double read = 0;
    EXPECT_TRUE(OrvaXml::TryGetDouble(m_element.Get(), L"d", read));
    EXPECT_TRUE(std::isnan(read));
}

TEST(XmlNumbers, ReadTheXmlFormAlone) {
    const struct {
        const wchar_t* text;
        double value;
    } good[] = {{L"0", 0},
                {L"+1", 1},
                {L" \t\r\n-2.5 ", -2.5},
                {L"5.", 5},
                {L"1E+3", 1000},
                {L"1.5e-3", 0.0015},
                {L"007", 7},
                {L"+.5", 0.5},
                {L"+INF", INFINITY},
                {L"-INF", -INFINITY},
                {L"9007199254740993", 9007199254740992.0}};
    for (const auto& test : good) {
        double value = 99;
        EXPECT_TRUE(tarnu::ParseXmlDouble(test.text, value)) << test.text;
        EXPECT_EQ(test.value, value) << test.text;
    }
    for (const wchar_t* text : {L"", L"+", L"+-1", L".", L"1e", L"1 2", L"1,5", L"Infinity", L"nan(1)", L"1e400",
                                L"\x0661", L"1\xA0", static_cast<const wchar_t*>(nullptr)}) {
        double value = 99;
        EXPECT_FALSE(tarnu::ParseXmlDouble(text, value)) << (text == nullptr ? L"null" : text);
        EXPECT_EQ(99, value);
    }
}
