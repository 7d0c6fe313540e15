// BKNaturalLanguageDateParser: free-text dates ("next Tuesday", "tomorrow 9am",
// "5 March 2026 14:30", "in 3 days", "3/5") read relative to a given now.
//
// The words come from the locale (ICU's month and weekday names, AM and PM, and its
// phrases for today, tomorrow, next Monday, last week...) and always also in English.
// Case does not matter. What the text may hold, in any order:
//   - one day: today, tomorrow, yesterday, now; a weekday, alone (the coming one, today
//     included), or with next, last or this (that weekday in the following, previous or
//     present week, weeks starting on the given first weekday); next, last or this week,
//     month or year (its first day); a date with a month name (March 5, 5th of March
//     2026) or in numbers in the locale's order of day and month (3/5, 5.3.2026,
//     2026-03-05), with a two-digit year put within 80 years before and 20 after now;
//     a lone day of the month ("15th");
//   - offsets: in 3 days, 2 weeks ago, +1w, -2d (units from seconds to years);
//   - one time: 9:30, 14:30:15, 9am, 9:30 p.m., noon, midnight, "at 9".
// Without a day the day is today's; without a time the time is 0:00, except after now and
// offsets in hours, minutes or seconds, which count from now. Words such as "at", "on",
// "the" and "of" are passed over. Anything else is refused with a message naming it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Platform/formatters/BKCivilDateTime.h"

namespace kestrum {

class BKNaturalLanguageDateParser {
public:
    // The order in which a locale writes the numbers of a date.
    enum class DateOrder { MonthDayYear, DayMonthYear, YearMonthDay };

    // The words of a locale ("" for ICU's default locale).
    explicit BKNaturalLanguageDateParser(const std::string& localeIdentifier);
    ~BKNaturalLanguageDateParser();

    // Reads `text` relative to `now`; `firstWeekday` is 1 for Sunday to 7 for Saturday.
    // False with a description of the problem when the text is no date.
    bool parse(std::string_view text, const BKCivilDateTime& now, int firstWeekday,
               BKCivilDateTime* out, std::string* errorDescription) const;

    // Reads `text` as a time of day alone ("9:30", "2pm", "noon"): false when it is no time
    // or also names a day or an offset.
    bool parseTimeOfDay(std::string_view text, int* hour, int* minute, int* second) const;
    // Whether `text` is one relative word alone (today, tomorrow, yesterday, now, or the
    // locale's own): `days` receives the days from today, `isNow` whether it means now.
    bool isRelativeWord(std::string_view text, int* days, bool* isNow) const;

    DateOrder dateOrder() const { return order_; }
    // The locale's AM and PM symbols, as printed.
    const std::string& amSymbol() const { return amSymbol_; }
    const std::string& pmSymbol() const { return pmSymbol_; }

    // What a word or phrase means (for the parser's tables).
    enum class WordKind {
        Month,        // value 1-12
        Weekday,      // value 0-6 (0 = Sunday)
        RelativeDay,  // value: days from today (-1, 0, 1)
        Now,
        Noon,
        Midnight,
        AM,
        PM,
        Next,  // value: +1 next, -1 last, 0 this
        Unit,  // value: seconds per unit, or -1 month, -12 year
        In,
        Ago,
        At,
        Filler,
        WeekdayPhrase,  // value: weekday + 7 * (direction + 1), direction -1, 0 or 1
        PeriodPhrase,   // value: unit code (7 week, 30 month, 365 year) * 3 + direction + 1
        OrdinalSuffix,
    };
    struct Word {
        std::string folded;
        WordKind kind;
        int value;
    };

private:
    void addWord(const std::string& text, WordKind kind, int value);
    void addEnglishWords();
    void addLocaleWords(const std::string& localeIdentifier);

    std::vector<Word> words_;  // longest first
    DateOrder order_ = DateOrder::MonthDayYear;
    std::string amSymbol_ = "AM";
    std::string pmSymbol_ = "PM";
};

}  // namespace kestrum
