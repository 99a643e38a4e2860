#include "file_utilities/text_conversion.h"

#include <gtest/gtest.h>

#include <vector>

namespace sd::clip {
namespace {

struct Call {
    const char* input;
    int length;
    bool hasOutput;
    int capacity;
};

// Stands for the platform's function: gives prepared answers, and fills as much of the output as it may.
struct Converter {
    int measured = 0;
    int written = 0;
    std::vector<Call> calls;

    int operator()(const char* input, int length, wchar_t* output, int capacity)
    {
        calls.push_back({input, length, output != nullptr, capacity});
        for (int i = 0; output != nullptr && i < capacity; ++i)
            output[i] = L'x';
        return output == nullptr ? measured : written;
    }

    std::wstring convert(std::string_view text)
    {
        return ConvertText<wchar_t>(text, [this](const char* input, int length, wchar_t* output, int capacity) {
            return (*this)(input, length, output, capacity);
        });
    }
};

TEST(ConvertText, MeasuresAndThenConverts)
{
    Converter converter{3, 3, {}};
    const std::string text = "four";
    EXPECT_EQ(L"xxx", converter.convert(text));

    ASSERT_EQ(2u, converter.calls.size());
    EXPECT_FALSE(converter.calls[0].hasOutput);
    EXPECT_EQ(0, converter.calls[0].capacity);
    EXPECT_TRUE(converter.calls[1].hasOutput);
    EXPECT_EQ(3, converter.calls[1].capacity);
}

TEST(ConvertText, GivesTheExplicitLengthAndNoCopyOfTheInput)
{
    Converter converter{1, 1, {}};
    const std::string text = "four and more";
    converter.convert(std::string_view(text).substr(0, 4));
    for (const Call& call : converter.calls) {
        EXPECT_EQ(text.data(), call.input);
        EXPECT_EQ(4, call.length);
    }
}

TEST(ConvertText, AnEmptyTextIsNotConverted)
{
    Converter converter{5, 5, {}};
    EXPECT_EQ(L"", converter.convert(""));
    EXPECT_TRUE(converter.calls.empty());
}

TEST(ConvertText, ATextThatCannotBeMeasuredIsEmpty)
{
    for (const int measured : {0, -1, INT_MIN}) {
        Converter converter{measured, 3, {}};
        EXPECT_EQ(L"", converter.convert("text"));
        EXPECT_EQ(1u, converter.calls.size());
    }
}

TEST(ConvertText, ATextThatWasMeasuredButNotConvertedIsEmpty)
{
    for (const int written : {0, -1, INT_MIN}) {
        Converter converter{3, written, {}};
        EXPECT_EQ(L"", converter.convert("text"));
    }
}

TEST(ConvertText, ASecondAnswerBelowTheFirstShortensTheText)
{
    Converter converter{3, 2, {}};
    EXPECT_EQ(L"xx", converter.convert("text"));
}

TEST(ConvertText, ASecondAnswerAboveTheFirstIsNotBelieved)
{
    Converter converter{3, 1000, {}};
    EXPECT_EQ(L"xxx", converter.convert("text"));
}

TEST(ConvertText, ATextTooLongForThePlatformIsEmpty)
{
    Converter converter{3, 3, {}};
    // The length alone is looked at: there are no bytes behind it.
    const std::string_view text("x", static_cast<std::size_t>(INT_MAX) + 1);
    EXPECT_EQ(L"", converter.convert(text));
    EXPECT_TRUE(converter.calls.empty());
}

TEST(ConvertText, TheLongestTextIsStillPassedOn)
{
    Converter converter{3, 3, {}};
    EXPECT_EQ(L"xxx", converter.convert(std::string_view("x", static_cast<std::size_t>(INT_MAX))));
    EXPECT_EQ(INT_MAX, converter.calls.at(0).length);
}

TEST(ConvertText, TheOtherDirectionIsTheMirror)
{
    const std::string converted =
        ConvertText<char>(std::wstring_view(L"ab"), [](const wchar_t* input, int length, char* output, int capacity) {
            for (int i = 0; i < capacity; ++i)
                output[i] = static_cast<char>(input[i]);
            return length;
        });
    EXPECT_EQ("ab", converted);
}

}  // namespace
}  // namespace sd::clip
