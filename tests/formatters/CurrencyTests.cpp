// Currencies learnt from the platform's printed sample in three locales: the symbol
// before the number (en_US), after it with a blank and the separators swapped (de_DE),
// and a currency without decimals (JPY); reading printed samples; the registry's lists.
#include <gtest/gtest.h>

#include <unicode/locid.h>

#include "Model/formatters/KSCostFormatter.h"
#include "Model/formatters/KSCurrency.h"

namespace kestrum::test {
namespace {

class CurrencyTest : public ::testing::Test {
protected:
    void learnIn(const char* identifier) {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale(identifier), status);
        KSCurrency::resetForCurrentLocale();
    }
    void SetUp() override { saved_ = icu::Locale::getDefault(); }
    void TearDown() override {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(saved_, status);
        KSCurrency::resetForCurrentLocale();
    }
    static std::string shown(const std::shared_ptr<KSCurrency>& c, double amount) {
        return c->displayFormatter()->stringForObjectValue(KSValue(amount));
    }
    static double read(const std::shared_ptr<KSCurrency>& c, const std::string& text) {
        KSValue value;
        c->displayFormatter()->getObjectValueForString(&value, text, nullptr);
        return value.doubleValue();
    }

private:
    icu::Locale saved_;
};

TEST_F(CurrencyTest, DollarsInTheUnitedStatesHaveTheSymbolBefore) {
    learnIn("en_US");
    auto usd = KSCurrency::currencyForCode("USD");
    ASSERT_TRUE(usd);
    EXPECT_EQ(usd->symbol(), "$");
    EXPECT_EQ(usd->symbolPosition(), KSCurrencySymbolBefore);
    EXPECT_EQ(usd->digits(), 2u);
    EXPECT_EQ(usd->thousandsSeparator(), ",");
    EXPECT_EQ(usd->decimalSeparator(), ".");
    EXPECT_EQ(usd->displayName(), "$1,234.56");
    EXPECT_TRUE(usd->inTopCurrencies());
    EXPECT_EQ(shown(usd, -1234.5), "-$1,234.50");
    EXPECT_EQ(shown(usd, 0.0), "");
    EXPECT_EQ(usd->archiveFormatter()->stringForObjectValue(KSValue(0.0)), "$0.00");
    EXPECT_EQ(read(usd, "$1,234.50"), 1234.5);
    EXPECT_EQ(KSCurrency::currencyForDisplayName("$1,234.56"), usd);
    EXPECT_EQ(KSCurrency::codeForCurrency(*usd), "USD");
    EXPECT_EQ(KSCurrency::currencyForCurrentLocale(), usd);
    // A currency whose symbol is a word stands with a blank before the number.
    auto chf = KSCurrency::currencyForCode("CHF");
    EXPECT_EQ(chf->symbolPosition(), KSCurrencySymbolBeforeWithBlank);
    EXPECT_EQ(shown(chf, 5.0), "CHF 5.00");
}

TEST_F(CurrencyTest, EurosInGermanyHaveTheSymbolAfterABlankAndSwappedSeparators) {
    learnIn("de_DE");
    auto eur = KSCurrency::currencyForCode("EUR");
    ASSERT_TRUE(eur);
    EXPECT_EQ(eur->symbol(), "€");
    EXPECT_EQ(eur->symbolPosition(), KSCurrencySymbolAfterWithBlank);
    EXPECT_EQ(eur->digits(), 2u);
    EXPECT_EQ(eur->thousandsSeparator(), ".");
    EXPECT_EQ(eur->decimalSeparator(), ",");
    EXPECT_EQ(shown(eur, 1234.5), "1.234,50 €");
    EXPECT_EQ(shown(eur, -2.0), "-2,00 €");
    EXPECT_EQ(read(eur, "1.234,50 €"), 1234.5);
    EXPECT_EQ(KSCurrency::currencyForCurrentLocale(), eur);
}

TEST_F(CurrencyTest, YenHaveNoDecimals) {
    learnIn("en_US");
    auto jpy = KSCurrency::currencyForCode("JPY");
    ASSERT_TRUE(jpy);
    EXPECT_EQ(jpy->symbol(), "¥");
    EXPECT_EQ(jpy->digits(), 0u);
    EXPECT_EQ(jpy->thousandsSeparator(), ",");
    EXPECT_EQ(shown(jpy, 1234.0), "¥1,234");
    EXPECT_EQ(jpy->archiveFormatter()->stringForObjectValue(KSValue(0.0)), "¥0");
    learnIn("ja_JP");
    EXPECT_EQ(KSCurrency::currencyForCode("JPY")->digits(), 0u);
}

TEST_F(CurrencyTest, PrintedSamplesAreReadByTheirShape) {
    learnIn("en_US");
    auto after = KSCurrency::currencyForDisplayName("1.234,56 €");
    ASSERT_TRUE(after);
    EXPECT_EQ(after->symbolPosition(), KSCurrencySymbolAfterWithBlank);
    EXPECT_EQ(after->thousandsSeparator(), ".");
    EXPECT_EQ(after->decimalSeparator(), ",");
    // 1,235 has a run of three digits after its only separator: no decimals.
    auto plain = KSCurrency::currencyForDisplayName("1,235¥");
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->digits(), 0u);
    EXPECT_EQ(plain->symbol(), "¥");
    EXPECT_EQ(plain->symbolPosition(), KSCurrencySymbolAfter);
    EXPECT_EQ(KSCurrency::currencyForDisplayName("no digits here"), nullptr);
    EXPECT_EQ(KSCurrency::currencyForDisplayName("   "), nullptr);
    EXPECT_EQ(KSCurrency::currencyForCode("XYZ-not-a-code"),
              KSCurrency::currencyForCode("XYZ-not-a-code"));
}

TEST_F(CurrencyTest, TheListsSortByNameWithTheCommonCurrenciesFirst) {
    learnIn("en_US");
    auto byName = KSCurrency::allCurrenciesSortedByDisplayNameInCurrentLocale();
    auto byPrevalence = KSCurrency::allCurrenciesSortedByPrevalenceAndDisplayNameInCurrentLocale();
    ASSERT_GT(byName.size(), 100u);
    EXPECT_EQ(byName.size(), byPrevalence.size());
    for (std::size_t i = 0; i < 10; ++i)
        EXPECT_TRUE(byPrevalence[i]->inTopCurrencies()) << i;
    EXPECT_FALSE(byPrevalence[10]->inTopCurrencies());
}

}  // namespace
}  // namespace kestrum::test
