#include "Platform/formatters/BKNaturalLanguageDateParser.h"
#include "Platform/core/KSICUText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <optional>

#include <unicode/datefmt.h>
#include <unicode/dtfmtsym.h>
#include <unicode/locid.h>
#include <unicode/reldatefmt.h>
#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>

#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"

namespace kestrum {

namespace {

using WordKind = BKNaturalLanguageDateParser::WordKind;
using Word = BKNaturalLanguageDateParser::Word;

constexpr int kSecondsPerDay = 86400;
constexpr int kUnitMonth = -1;
constexpr int kUnitYear = -12;
// Numbers are read to this size at most; larger ones cannot name a date anyway.
constexpr long long kLargestNumber = 1000000;

// Lower case without regard to the locale, white space (also no-break spaces) as one
// blank, and commas as blanks.
std::string foldedText(std::string_view text) {
    icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    unicode.foldCase();
    std::string folded = KSUTF8String(unicode);
    std::string out;
    out.reserve(folded.size());
    bool blank = true;  // drops leading blanks
    for (std::size_t i = 0; i < folded.size();) {
        std::size_t length = 0;
        unsigned char c = static_cast<unsigned char>(folded[i]);
        if (c == ' ' || c == ',' || (c >= '\t' && c <= '\r')) {
            length = 1;
        } else if (folded.compare(i, 2, "\xC2\xA0") == 0) {
            length = 2;
        } else if (folded.compare(i, 3, "\xE2\x80\xAF") == 0) {
            length = 3;
        }
        if (length > 0) {
            if (!blank) out += ' ';
            blank = true;
            i += length;
        } else {
            out += folded[i];
            blank = false;
            ++i;
        }
    }
    while (!out.empty() && out.back() == ' ')
        out.pop_back();
    return out;
}

bool isLetterByte(char c) {
    unsigned char u = static_cast<unsigned char>(c);
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || u >= 0x80;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// What the text says, gathered token by token and resolved at the end.
struct Reading {
    // The day.
    std::optional<int> year, month, day;
    bool explicitDate = false;
    std::optional<int> relativeDay;
    std::optional<int> weekday;
    int weekdayDirection = 0;
    bool weekdayInWeek = false;     // with next, last or this: a weekday of that week
    std::optional<int> periodUnit;  // 7 week, 30 month, 365 year
    int periodDirection = 0;
    bool now = false;
    // Offsets.
    long long offsetDays = 0;
    long long offsetMonths = 0;
    double offsetSeconds = 0.0;
    // The time.
    std::optional<int> hour, minute, second;
    int meridiem = 0;  // 1 AM, 2 PM
    // Numbers with no unit yet: a day, a year or an hour.
    struct Bare {
        long long value;
        std::size_t digits;
        bool afterAt;
    };
    std::vector<Bare> bare;
};

class Parse {
public:
    Parse(const std::vector<Word>& words, BKNaturalLanguageDateParser::DateOrder order,
          std::string text, const BKCivilDateTime& now, int firstWeekday)
        : words_(words),
          order_(order),
          text_(std::move(text)),
          now_(now),
          firstWeekday_(std::clamp(firstWeekday, 1, 7) - 1) {}

    bool run(BKCivilDateTime* out);
    // Whether what was read is a time of day and nothing else.
    bool readTimeOfDayOnly() const {
        return r_.hour && !r_.explicitDate && !r_.relativeDay && !r_.weekday && !r_.periodUnit &&
               !r_.now && r_.offsetDays == 0 && r_.offsetMonths == 0 && r_.offsetSeconds == 0.0;
    }
    const std::string& error() const { return error_; }

private:
    bool fail(const std::string& message) {
        if (error_.empty()) error_ = message;
        return false;
    }
    bool failWord(std::size_t at);
    const Word* wordAt(std::size_t pos, std::size_t* length) const;
    std::size_t skipBlank(std::size_t pos) const {
        return pos < text_.size() && text_[pos] == ' ' ? pos + 1 : pos;
    }
    long long digitsAt(std::size_t pos, std::size_t* count) const;
    bool readNumberToken(std::size_t* pos, bool afterAt);
    bool readTime(long long hour, std::size_t* pos);
    bool readNumericDate(long long first, std::size_t firstDigits, std::size_t* pos);
    bool readOffset(long long amount, int unit, std::size_t* pos);
    bool readWordToken(std::size_t* pos, bool* atPending);
    bool readMeridiem(std::size_t* pos);
    bool setTime(int hour, int minute, int second);
    int fullYear(long long year, std::size_t digits) const;
    bool resolveBareNumbers();
    bool resolveDay(BKCivilDateTime* day);
    bool resolveTime(BKCivilDateTime* moment);

    const std::vector<Word>& words_;
    BKNaturalLanguageDateParser::DateOrder order_;
    std::string text_;
    BKCivilDateTime now_;
    int firstWeekday_;  // 0 = Sunday
    Reading r_;
    std::string error_;
};

const Word* Parse::wordAt(std::size_t pos, std::size_t* length) const {
    for (const Word& word : words_) {  // longest first
        const std::size_t n = word.folded.size();
        if (text_.compare(pos, n, word.folded) != 0) continue;
        // A word ends where letters end, unless it ends in something else itself ("a.m.").
        if (pos + n < text_.size() && isLetterByte(word.folded.back()) &&
            isLetterByte(text_[pos + n]))
            continue;
        *length = n;
        return &word;
    }
    return nullptr;
}

bool Parse::failWord(std::size_t at) {
    std::size_t end = text_.find(' ', at);
    std::string word = text_.substr(at, end == std::string::npos ? std::string::npos : end - at);
    return fail(KSStringWithFormat(KSLocalizedString("\"%@\" is not understood in a date."), word));
}

long long Parse::digitsAt(std::size_t pos, std::size_t* count) const {
    long long value = 0;
    std::size_t n = 0;
    while (pos + n < text_.size() && isDigit(text_[pos + n])) {
        if (value < kLargestNumber) value = value * 10 + (text_[pos + n] - '0');
        ++n;
    }
    *count = n;
    return value;
}

bool Parse::setTime(int hour, int minute, int second) {
    if (r_.hour) return fail(KSLocalizedString("The date names more than one time of day."));
    r_.hour = hour;
    r_.minute = minute;
    r_.second = second;
    return true;
}

bool Parse::readMeridiem(std::size_t* pos) {
    std::size_t length = 0;
    const Word* word = wordAt(skipBlank(*pos), &length);
    if (!word || (word->kind != WordKind::AM && word->kind != WordKind::PM)) return true;
    r_.meridiem = word->kind == WordKind::AM ? 1 : 2;
    *pos = skipBlank(*pos) + length;
    return true;
}

bool Parse::readTime(long long hour, std::size_t* pos) {
    std::size_t n = 0;
    long long minute = digitsAt(*pos + 1, &n);
    if (n == 0 || n > 2) return failWord(*pos);
    *pos += 1 + n;
    long long second = 0;
    if (*pos < text_.size() && text_[*pos] == ':') {
        second = digitsAt(*pos + 1, &n);
        if (n == 0 || n > 2) return failWord(*pos);
        *pos += 1 + n;
    }
    if (!setTime(static_cast<int>(hour), static_cast<int>(minute), static_cast<int>(second)))
        return false;
    return readMeridiem(pos);
}

int Parse::fullYear(long long year, std::size_t digits) const {
    if (digits > 2) return static_cast<int>(year);
    // Two digits: the year within 80 years before and 20 after now.
    int century = now_.year - now_.year % 100;
    int candidate = century + static_cast<int>(year);
    if (candidate >= now_.year + 20) candidate -= 100;
    if (candidate < now_.year - 80) candidate += 100;
    return candidate;
}

bool Parse::readNumericDate(long long first, std::size_t firstDigits, std::size_t* pos) {
    std::array<long long, 3> parts{first, 0, 0};
    std::array<std::size_t, 3> digits{firstDigits, 0, 0};
    std::size_t count = 1;
    while (count < 3 && *pos + 1 < text_.size() &&
           (text_[*pos] == '/' || text_[*pos] == '.' || text_[*pos] == '-') &&
           isDigit(text_[*pos + 1])) {
        parts[count] = digitsAt(*pos + 1, &digits[count]);
        *pos += 1 + digits[count];
        ++count;
    }
    if (*pos < text_.size() && text_[*pos] == '.') ++*pos;  // "5.3." as German writes it
    if (r_.explicitDate) return fail(KSLocalizedString("The date names more than one day."));
    r_.explicitDate = true;
    using Order = BKNaturalLanguageDateParser::DateOrder;
    Order order = firstDigits >= 3 ? Order::YearMonthDay : order_;
    long long y = -1, m = 0, d = 0;
    std::size_t yearDigits = 4;
    if (order == Order::YearMonthDay) {
        if (count == 3 || firstDigits >= 3) {
            y = parts[0];
            yearDigits = digits[0];
            m = parts[1];
            d = count == 3 ? parts[2] : 1;
        } else {
            m = parts[0];
            d = parts[1];
        }
    } else {
        const bool dayFirst = order == Order::DayMonthYear;
        d = dayFirst ? parts[0] : parts[1];
        m = dayFirst ? parts[1] : parts[0];
        if (count == 3) {
            y = parts[2];
            yearDigits = digits[2];
        }
    }
    if (y >= 0) r_.year = fullYear(y, yearDigits);
    r_.month = static_cast<int>(m);
    r_.day = static_cast<int>(d);
    return true;
}

bool Parse::readOffset(long long amount, int unit, std::size_t* pos) {
    std::size_t length = 0;
    const Word* word = wordAt(skipBlank(*pos), &length);
    if (word && word->kind == WordKind::Ago) {
        amount = -amount;
        *pos = skipBlank(*pos) + length;
    }
    if (unit == kUnitMonth) {
        r_.offsetMonths += amount;
    } else if (unit == kUnitYear) {
        r_.offsetMonths += 12 * amount;
    } else if (unit % kSecondsPerDay == 0) {
        r_.offsetDays += amount * (unit / kSecondsPerDay);
    } else {
        r_.offsetSeconds += static_cast<double>(amount) * unit;
    }
    return true;
}

bool Parse::readNumberToken(std::size_t* pos, bool afterAt) {
    const std::size_t start = *pos;
    std::size_t digits = 0;
    long long value = digitsAt(start, &digits);
    *pos = start + digits;
    if (*pos < text_.size() && text_[*pos] == ':' && *pos + 1 < text_.size() &&
        isDigit(text_[*pos + 1]))
        return readTime(value, pos);
    if (*pos + 1 < text_.size() &&
        (text_[*pos] == '/' || text_[*pos] == '-' || text_[*pos] == '.') &&
        isDigit(text_[*pos + 1]))
        return readNumericDate(value, digits, pos);
    // "5." is a day in the languages that write ordinals so.
    if (*pos < text_.size() && text_[*pos] == '.') {
        ++*pos;
        r_.bare.push_back({value, std::min<std::size_t>(digits, 2), false});
        return true;
    }
    std::size_t length = 0;
    const std::size_t next = skipBlank(*pos);
    const Word* word = wordAt(next, &length);
    if (word && (word->kind == WordKind::AM || word->kind == WordKind::PM)) {
        if (!setTime(static_cast<int>(value), 0, 0)) return false;
        return readMeridiem(pos);
    }
    if (word && word->kind == WordKind::OrdinalSuffix && next == *pos) {
        *pos = next + length;
        r_.bare.push_back({value, std::min<std::size_t>(digits, 2), false});
        return true;
    }
    if (word && word->kind == WordKind::Unit) {
        *pos = next + length;
        return readOffset(value, word->value, pos);
    }
    r_.bare.push_back({value, digits, afterAt});
    return true;
}

bool Parse::readWordToken(std::size_t* pos, bool* atPending) {
    std::size_t length = 0;
    const Word* word = wordAt(*pos, &length);
    if (!word) return failWord(*pos);
    *pos += length;
    switch (word->kind) {
        case WordKind::Month:
            if (r_.month) return fail(KSLocalizedString("The date names more than one month."));
            r_.month = word->value;
            r_.explicitDate = true;
            return true;
        case WordKind::Weekday:
            if (r_.weekday) return fail(KSLocalizedString("The date names more than one day."));
            r_.weekday = word->value;
            return true;
        case WordKind::WeekdayPhrase:
            if (r_.weekday) return fail(KSLocalizedString("The date names more than one day."));
            r_.weekday = word->value % 7;
            r_.weekdayDirection = word->value / 7 - 1;
            r_.weekdayInWeek = true;
            return true;
        case WordKind::PeriodPhrase:
            if (r_.periodUnit) return fail(KSLocalizedString("The date names more than one day."));
            r_.periodUnit = word->value / 3;
            r_.periodDirection = word->value % 3 - 1;
            return true;
        case WordKind::Next: {
            // next, last or this before a weekday or before week, month or year.
            std::size_t nextLength = 0;
            const std::size_t at = skipBlank(*pos);
            const Word* what = wordAt(at, &nextLength);
            if (what && what->kind == WordKind::Weekday && !r_.weekday) {
                r_.weekday = what->value;
                r_.weekdayDirection = word->value;
                r_.weekdayInWeek = true;
            } else if (what && what->kind == WordKind::Unit && !r_.periodUnit &&
                       (what->value == 7 * kSecondsPerDay || what->value == kUnitMonth ||
                        what->value == kUnitYear)) {
                r_.periodUnit = what->value == kUnitMonth ? 30 : what->value == kUnitYear ? 365 : 7;
                r_.periodDirection = word->value;
            } else {
                // Name the word that does not fit: the one after, or this one.
                return failWord(what || at >= text_.size() ? *pos - length : at);
            }
            *pos = at + nextLength;
            return true;
        }
        case WordKind::RelativeDay:
            if (r_.relativeDay) return fail(KSLocalizedString("The date names more than one day."));
            r_.relativeDay = word->value;
            return true;
        case WordKind::Now:
            r_.now = true;
            return true;
        case WordKind::Noon:
            return setTime(12, 0, 0);
        case WordKind::Midnight:
            return setTime(0, 0, 0);
        case WordKind::AM:
        case WordKind::PM:
            // Only after a time ("9:30 pm" is read with the time itself).
            if (!r_.hour || r_.meridiem) return failWord(*pos - length);
            r_.meridiem = word->kind == WordKind::AM ? 1 : 2;
            return true;
        case WordKind::At:
            *atPending = true;
            return true;
        case WordKind::In:
        case WordKind::Filler:
            return true;
        case WordKind::Unit:
        case WordKind::Ago:
        case WordKind::OrdinalSuffix:
            break;
    }
    return failWord(*pos - length);
}

bool Parse::resolveBareNumbers() {
    for (const Reading::Bare& number : r_.bare) {
        if (number.afterAt && !r_.hour) {
            if (!setTime(static_cast<int>(number.value), 0, 0)) return false;
        } else if ((number.digits >= 3 || number.value > 31) && !r_.year) {
            r_.year = fullYear(number.value, number.digits);
            r_.explicitDate = true;
        } else if (!r_.day && number.digits <= 2) {
            r_.day = static_cast<int>(number.value);
            r_.explicitDate = true;
        } else {
            return fail(KSStringWithFormat(
                KSLocalizedString("The number %d has no place in the date."), number.value));
        }
    }
    return true;
}

bool Parse::resolveDay(BKCivilDateTime* day) {
    const int named = (r_.explicitDate ? 1 : 0) + (r_.relativeDay ? 1 : 0) +
                      (r_.periodUnit ? 1 : 0) + (r_.now ? 1 : 0) +
                      (r_.weekday && !r_.explicitDate ? 1 : 0);
    if (named > 1) return fail(KSLocalizedString("The date names more than one day."));
    BKCivilDateTime today{now_.year, now_.month, now_.day, 0, 0, 0};
    const int weekOffset = (today.weekday() - firstWeekday_ + 7) % 7;
    const BKCivilDateTime weekStart = today.addingDays(-weekOffset);
    if (r_.explicitDate) {
        *day = today;
        if (r_.year) day->year = *r_.year;
        if (r_.month) day->month = *r_.month;
        if (r_.day) {
            day->day = *r_.day;
        } else if (r_.month || r_.year) {
            day->day = 1;
        }
        if (r_.year && !r_.month) day->month = 1;
        if (day->year < 1 || day->year > 9999 || day->month < 1 || day->month > 12 ||
            day->day < 1 || day->day > BKCivilDateTime::daysInMonth(day->year, day->month))
            return fail(KSLocalizedString("The date names a day that does not exist."));
    } else if (r_.relativeDay) {
        *day = today.addingDays(*r_.relativeDay);
    } else if (r_.weekday && r_.weekdayInWeek) {
        *day =
            weekStart.addingDays(7 * r_.weekdayDirection + (*r_.weekday - firstWeekday_ + 7) % 7);
    } else if (r_.weekday) {
        *day = today.addingDays((*r_.weekday - today.weekday() + 7) % 7);
    } else if (r_.periodUnit == 7) {
        *day = weekStart.addingDays(7 * r_.periodDirection);
    } else if (r_.periodUnit == 30) {
        *day = today;
        day->day = 1;
        r_.offsetMonths += r_.periodDirection;
    } else if (r_.periodUnit == 365) {
        *day = BKCivilDateTime{today.year + r_.periodDirection, 1, 1, 0, 0, 0};
    } else {
        *day = today;
    }
    if (r_.offsetMonths != 0) {
        long long months =
            static_cast<long long>(day->year) * 12 + (day->month - 1) + r_.offsetMonths;
        if (months < 12 || months >= 10000 * 12)
            return fail(KSLocalizedString("The date lies too far away."));
        day->year = static_cast<int>(months / 12);
        day->month = static_cast<int>(months % 12) + 1;
        day->day = std::min(day->day, BKCivilDateTime::daysInMonth(day->year, day->month));
    }
    if (r_.offsetDays != 0) {
        if (std::llabs(r_.offsetDays) > 3650000)
            return fail(KSLocalizedString("The date lies too far away."));
        *day = day->addingDays(r_.offsetDays);
    }
    return true;
}

bool Parse::resolveTime(BKCivilDateTime* moment) {
    if (r_.hour) {
        int hour = *r_.hour;
        if (r_.meridiem != 0) {
            if (hour < 1 || hour > 12)
                return fail(KSLocalizedString("The date names an hour that does not exist."));
            hour = hour % 12 + (r_.meridiem == 2 ? 12 : 0);
        }
        moment->hour = hour;
        moment->minute = r_.minute.value_or(0);
        moment->second = r_.second.value_or(0);
        if (hour > 23 || moment->minute > 59 || moment->second > 59)
            return fail(KSLocalizedString("The date names an hour that does not exist."));
    } else if (r_.now || r_.offsetSeconds != 0.0) {
        moment->hour = now_.hour;
        moment->minute = now_.minute;
        moment->second = now_.second;
    }
    if (r_.offsetSeconds != 0.0) {
        if (std::fabs(r_.offsetSeconds) > 3650000.0 * kSecondsPerDay)
            return fail(KSLocalizedString("The date lies too far away."));
        double total =
            moment->hour * 3600.0 + moment->minute * 60.0 + moment->second + r_.offsetSeconds;
        double days = std::floor(total / kSecondsPerDay);
        double rest = total - days * kSecondsPerDay;
        *moment = moment->addingDays(static_cast<long long>(days));
        moment->hour = static_cast<int>(rest / 3600.0);
        moment->minute = static_cast<int>((rest - moment->hour * 3600.0) / 60.0);
        moment->second = static_cast<int>(rest - moment->hour * 3600.0 - moment->minute * 60.0);
    }
    return true;
}

bool Parse::run(BKCivilDateTime* out) {
    if (text_.empty()) return fail(KSLocalizedString("The date is empty."));
    std::size_t pos = 0;
    bool atPending = false;
    while (pos < text_.size()) {
        const char c = text_[pos];
        const bool afterAt = atPending;
        atPending = false;
        bool ok = true;
        if (c == ' ') {
            ++pos;
            atPending = afterAt;
        } else if (isDigit(c)) {
            ok = readNumberToken(&pos, afterAt);
        } else if ((c == '+' || c == '-') && pos + 1 < text_.size() && isDigit(text_[pos + 1])) {
            std::size_t digits = 0;
            long long amount = digitsAt(pos + 1, &digits);
            pos += 1 + digits;
            std::size_t length = 0;
            const Word* unit = wordAt(skipBlank(pos), &length);
            int seconds = kSecondsPerDay;
            if (unit && unit->kind == WordKind::Unit) {
                seconds = unit->value;
                pos = skipBlank(pos) + length;
            }
            ok = readOffset(c == '-' ? -amount : amount, seconds, &pos);
        } else {
            ok = readWordToken(&pos, &atPending);
        }
        if (!ok) return false;
    }
    BKCivilDateTime moment;
    if (!resolveBareNumbers() || !resolveDay(&moment) || !resolveTime(&moment)) return false;
    if (!moment.isValid() || moment.year < 1 || moment.year > 9999)
        return fail(KSLocalizedString("The date names a day that does not exist."));
    *out = moment;
    return true;
}

struct EnglishWord {
    const char* text;
    WordKind kind;
    int value;
};

const EnglishWord kEnglishWords[] = {
    {"january", WordKind::Month, 1},
    {"february", WordKind::Month, 2},
    {"march", WordKind::Month, 3},
    {"april", WordKind::Month, 4},
    {"may", WordKind::Month, 5},
    {"june", WordKind::Month, 6},
    {"july", WordKind::Month, 7},
    {"august", WordKind::Month, 8},
    {"september", WordKind::Month, 9},
    {"october", WordKind::Month, 10},
    {"november", WordKind::Month, 11},
    {"december", WordKind::Month, 12},
    {"jan", WordKind::Month, 1},
    {"feb", WordKind::Month, 2},
    {"mar", WordKind::Month, 3},
    {"apr", WordKind::Month, 4},
    {"jun", WordKind::Month, 6},
    {"jul", WordKind::Month, 7},
    {"aug", WordKind::Month, 8},
    {"sep", WordKind::Month, 9},
    {"sept", WordKind::Month, 9},
    {"oct", WordKind::Month, 10},
    {"nov", WordKind::Month, 11},
    {"dec", WordKind::Month, 12},
    {"sunday", WordKind::Weekday, 0},
    {"monday", WordKind::Weekday, 1},
    {"tuesday", WordKind::Weekday, 2},
    {"wednesday", WordKind::Weekday, 3},
    {"thursday", WordKind::Weekday, 4},
    {"friday", WordKind::Weekday, 5},
    {"saturday", WordKind::Weekday, 6},
    {"sun", WordKind::Weekday, 0},
    {"mon", WordKind::Weekday, 1},
    {"tue", WordKind::Weekday, 2},
    {"tues", WordKind::Weekday, 2},
    {"wed", WordKind::Weekday, 3},
    {"thu", WordKind::Weekday, 4},
    {"thur", WordKind::Weekday, 4},
    {"thurs", WordKind::Weekday, 4},
    {"fri", WordKind::Weekday, 5},
    {"sat", WordKind::Weekday, 6},
    {"today", WordKind::RelativeDay, 0},
    {"tomorrow", WordKind::RelativeDay, 1},
    {"yesterday", WordKind::RelativeDay, -1},
    {"now", WordKind::Now, 0},
    {"noon", WordKind::Noon, 0},
    {"midday", WordKind::Noon, 0},
    {"midnight", WordKind::Midnight, 0},
    {"am", WordKind::AM, 0},
    {"a.m.", WordKind::AM, 0},
    {"pm", WordKind::PM, 0},
    {"p.m.", WordKind::PM, 0},
    {"next", WordKind::Next, 1},
    {"last", WordKind::Next, -1},
    {"this", WordKind::Next, 0},
    {"second", WordKind::Unit, 1},
    {"seconds", WordKind::Unit, 1},
    {"sec", WordKind::Unit, 1},
    {"secs", WordKind::Unit, 1},
    {"minute", WordKind::Unit, 60},
    {"minutes", WordKind::Unit, 60},
    {"min", WordKind::Unit, 60},
    {"mins", WordKind::Unit, 60},
    {"m", WordKind::Unit, 60},
    {"hour", WordKind::Unit, 3600},
    {"hours", WordKind::Unit, 3600},
    {"hr", WordKind::Unit, 3600},
    {"hrs", WordKind::Unit, 3600},
    {"h", WordKind::Unit, 3600},
    {"day", WordKind::Unit, kSecondsPerDay},
    {"days", WordKind::Unit, kSecondsPerDay},
    {"d", WordKind::Unit, kSecondsPerDay},
    {"week", WordKind::Unit, 7 * kSecondsPerDay},
    {"weeks", WordKind::Unit, 7 * kSecondsPerDay},
    {"wk", WordKind::Unit, 7 * kSecondsPerDay},
    {"wks", WordKind::Unit, 7 * kSecondsPerDay},
    {"w", WordKind::Unit, 7 * kSecondsPerDay},
    {"fortnight", WordKind::Unit, 14 * kSecondsPerDay},
    {"month", WordKind::Unit, kUnitMonth},
    {"months", WordKind::Unit, kUnitMonth},
    {"mo", WordKind::Unit, kUnitMonth},
    {"year", WordKind::Unit, kUnitYear},
    {"years", WordKind::Unit, kUnitYear},
    {"yr", WordKind::Unit, kUnitYear},
    {"yrs", WordKind::Unit, kUnitYear},
    {"y", WordKind::Unit, kUnitYear},
    {"in", WordKind::In, 0},
    {"ago", WordKind::Ago, 0},
    {"at", WordKind::At, 0},
    {"on", WordKind::Filler, 0},
    {"the", WordKind::Filler, 0},
    {"of", WordKind::Filler, 0},
    {"st", WordKind::OrdinalSuffix, 0},
    {"nd", WordKind::OrdinalSuffix, 0},
    {"rd", WordKind::OrdinalSuffix, 0},
    {"th", WordKind::OrdinalSuffix, 0},
};

}  // namespace

BKNaturalLanguageDateParser::BKNaturalLanguageDateParser(const std::string& localeIdentifier) {
    addLocaleWords(localeIdentifier);
    addEnglishWords();
    // Longest first, so that "monday" wins over "mon" and "next tuesday" over "next".
    std::stable_sort(words_.begin(), words_.end(), [](const Word& a, const Word& b) {
        return a.folded.size() > b.folded.size();
    });
}

BKNaturalLanguageDateParser::~BKNaturalLanguageDateParser() = default;

void BKNaturalLanguageDateParser::addWord(const std::string& text, WordKind kind, int value) {
    std::string folded = foldedText(text);
    if (folded.empty()) return;
    words_.push_back({folded, kind, value});
    // Abbreviations often end with a full stop ("janv.", "Mär."); both forms are read.
    if (folded.size() > 1 && folded.back() == '.' && kind != WordKind::AM && kind != WordKind::PM)
        words_.push_back({folded.substr(0, folded.size() - 1), kind, value});
}

void BKNaturalLanguageDateParser::addEnglishWords() {
    for (const EnglishWord& word : kEnglishWords)
        addWord(word.text, word.kind, word.value);
}

void BKNaturalLanguageDateParser::addLocaleWords(const std::string& localeIdentifier) {
    const icu::Locale locale = localeIdentifier.empty() ? icu::Locale::getDefault()
                                                        : icu::Locale(localeIdentifier.c_str());
    UErrorCode status = U_ZERO_ERROR;
    icu::DateFormatSymbols symbols(locale, status);
    if (U_SUCCESS(status)) {
        using S = icu::DateFormatSymbols;
        int32_t count = 0;
        for (S::DtContextType context : {S::FORMAT, S::STANDALONE}) {
            for (S::DtWidthType width : {S::WIDE, S::ABBREVIATED}) {
                const icu::UnicodeString* months = symbols.getMonths(count, context, width);
                for (int32_t i = 0; i < count && i < 12; ++i)
                    addWord(KSUTF8String(months[i]), WordKind::Month, i + 1);
                const icu::UnicodeString* days = symbols.getWeekdays(count, context, width);
                for (int32_t i = 1; i < count && i <= 7; ++i)
                    addWord(KSUTF8String(days[i]), WordKind::Weekday, i - 1);
            }
        }
        const icu::UnicodeString* marks = symbols.getAmPmStrings(count);
        if (count >= 2) {
            amSymbol_ = KSUTF8String(marks[0]);
            pmSymbol_ = KSUTF8String(marks[1]);
            addWord(amSymbol_, WordKind::AM, 0);
            addWord(pmSymbol_, WordKind::PM, 0);
        }
    }
    status = U_ZERO_ERROR;
    icu::RelativeDateTimeFormatter relative(locale, status);
    if (U_SUCCESS(status)) {
        auto phrase = [&](UDateDirection direction, UDateAbsoluteUnit unit) {
            icu::UnicodeString text;
            UErrorCode s = U_ZERO_ERROR;
            relative.format(direction, unit, text, s);
            return U_SUCCESS(s) ? KSUTF8String(text) : std::string();
        };
        const std::array<std::pair<UDateDirection, int>, 3> directions = {
            {{UDAT_DIRECTION_LAST, -1}, {UDAT_DIRECTION_THIS, 0}, {UDAT_DIRECTION_NEXT, 1}}};
        for (const auto& [direction, step] : directions) {
            addWord(phrase(direction, UDAT_ABSOLUTE_DAY), WordKind::RelativeDay, step);
            for (int weekday = 0; weekday < 7; ++weekday) {
                auto unit = static_cast<UDateAbsoluteUnit>(UDAT_ABSOLUTE_SUNDAY + weekday);
                addWord(phrase(direction, unit), WordKind::WeekdayPhrase, weekday + 7 * (step + 1));
            }
            addWord(phrase(direction, UDAT_ABSOLUTE_WEEK), WordKind::PeriodPhrase,
                    7 * 3 + step + 1);
            addWord(phrase(direction, UDAT_ABSOLUTE_MONTH), WordKind::PeriodPhrase,
                    30 * 3 + step + 1);
            addWord(phrase(direction, UDAT_ABSOLUTE_YEAR), WordKind::PeriodPhrase,
                    365 * 3 + step + 1);
        }
        addWord(phrase(UDAT_DIRECTION_PLAIN, UDAT_ABSOLUTE_NOW), WordKind::Now, 0);
    }
    // The order of day and month in the locale's short date.
    status = U_ZERO_ERROR;
    std::unique_ptr<icu::DateFormat> shortDate(
        icu::DateFormat::createDateInstance(icu::DateFormat::kShort, locale));
    if (auto* simple = dynamic_cast<icu::SimpleDateFormat*>(shortDate.get())) {
        icu::UnicodeString pattern;
        simple->toPattern(pattern);
        const int32_t d = pattern.indexOf(u'd');
        int32_t m = pattern.indexOf(u'M');
        if (m < 0) m = pattern.indexOf(u'L');
        const int32_t y = pattern.indexOf(u'y');
        if (y >= 0 && (d < 0 || y < d) && (m < 0 || y < m)) {
            order_ = DateOrder::YearMonthDay;
        } else if (d >= 0 && m >= 0 && d < m) {
            order_ = DateOrder::DayMonthYear;
        }
    }
}

bool BKNaturalLanguageDateParser::parseTimeOfDay(std::string_view text, int* hour, int* minute,
                                                 int* second) const {
    // The day does not matter; any valid one will do.
    const BKCivilDateTime anyDay{2001, 1, 1, 0, 0, 0};
    Parse parse(words_, order_, foldedText(text), anyDay, 1);
    BKCivilDateTime moment;
    if (!parse.run(&moment) || !parse.readTimeOfDayOnly()) return false;
    *hour = moment.hour;
    *minute = moment.minute;
    *second = moment.second;
    return true;
}

bool BKNaturalLanguageDateParser::isRelativeWord(std::string_view text, int* days,
                                                 bool* isNow) const {
    const std::string folded = foldedText(text);
    for (const Word& word : words_) {
        if (word.folded != folded) continue;
        if (word.kind == WordKind::RelativeDay || word.kind == WordKind::Now) {
            *days = word.kind == WordKind::Now ? 0 : word.value;
            *isNow = word.kind == WordKind::Now;
            return true;
        }
    }
    return false;
}

bool BKNaturalLanguageDateParser::parse(std::string_view text, const BKCivilDateTime& now,
                                        int firstWeekday, BKCivilDateTime* out,
                                        std::string* errorDescription) const {
    Parse parse(words_, order_, foldedText(text), now, firstWeekday);
    BKCivilDateTime moment;
    if (!parse.run(&moment)) {
        if (errorDescription) {
            *errorDescription =
                KSStringWithFormat(KSLocalizedString("\"%@\" cannot be read as a date: %@"),
                                   std::string(text), parse.error());
        }
        return false;
    }
    if (out) *out = moment;
    return true;
}

}  // namespace kestrum
