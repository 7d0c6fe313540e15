// Rich text: attribute runs through edits, and one delegate round per batch of edits.
#include <gtest/gtest.h>

#include "Model/project/KSTextStorage.h"

namespace kestrum {
namespace {

struct Delegate : KSTextStorageDelegate {
    void willBeginEditing(KSTextStorage&) override { calls.push_back("begin"); }
    void textStorageWillProcessEditing(TWTextStorage&) override { calls.push_back("will"); }
    void textStorageDidProcessEditing(TWTextStorage& s) override {
        calls.push_back("did:" + s.string());
    }
    std::vector<std::string> calls;
};

TEST(TextStorageTest, ReplacementTakesTheAttributesOfTheReplacedText) {
    TWTextStorage text("hello world");
    KSDictionary bold{{"bold", KSValue(true)}};
    text.setAttributesRange(bold, {6, 5});
    EXPECT_EQ(text.runCount(), 2u);
    text.replaceCharactersInRangeWithString({6, 5}, "there!");
    EXPECT_EQ(text.string(), "hello there!");
    TWTextRange range;
    EXPECT_EQ(text.attributesAtIndex(7, &range), bold);
    EXPECT_EQ(range.location, 6u);
    EXPECT_EQ(range.length, 6u);
    text.replaceCharactersInRangeWithString({100, 3}, "?");  // clamped to an append
    EXPECT_EQ(text.string(), "hello there!?");
    EXPECT_EQ(text.attributesAtIndex(12), bold);
    text.setString("");
    EXPECT_EQ(text.runCount(), 0u);
    TWTextStorage copy(TWTextStorage("abc"), nullptr);
    EXPECT_TRUE(copy.isEqual(TWTextStorage("abc")));
    EXPECT_FALSE(copy.isEqual(text));
}

TEST(TextStorageTest, TheOwnerHearsOfEachEditAndEachBatchOnce) {
    KSTextStorage text("ab");
    Delegate delegate;
    text.setDelegate(&delegate);
    text.replaceCharactersInRangeWithString({2, 0}, "c");
    EXPECT_EQ(delegate.calls, (std::vector<std::string>{"begin", "will", "did:abc"}));
    delegate.calls.clear();
    text.beginEditing();
    text.replaceCharactersInRangeWithString({0, 1}, "A");
    text.replaceCharactersInRangeWithString({1, 1}, "B");
    text.endEditing();
    EXPECT_EQ(delegate.calls,
              (std::vector<std::string>{"begin", "begin", "begin", "will", "did:ABc"}));
    text.setDelegate(nullptr);
    text.setString("x");
    EXPECT_EQ(delegate.calls.size(), 5u);
}

}  // namespace
}  // namespace kestrum
