#include "Platform/predicate/KSPredicateParser.h"
#include "Platform/core/KSUnicode.h"

#include <cctype>
#include <cmath>
#include <string>
#include <vector>

#include "Platform/core/KSNumberText.h"
#include "Platform/predicate/KSComparisonPredicate.h"
#include "Platform/predicate/KSCompoundPredicate.h"
#include "Platform/predicate/KSExpression.h"
#include "Platform/predicate/KSPredicateRegex.h"

namespace kestrum {

namespace {

// Deep nesting is refused before it can exhaust the stack.
constexpr int kMaxDepth = 200;

enum class TokenType {
    End,
    Identifier,  // a bare word (keyword or key)
    Escaped,     // #word or #"text": always a key
    String,
    Number,
    Format,    // %@, %K, %d ...
    Operator,  // == != < <= > >= <> =< => && || !
    Punct,     // ( ) { } , .
};

struct Token {
    TokenType type = TokenType::End;
    std::string text;  // identifier or operator text, string contents, format conversion
    KSValue number;
    std::size_t offset = 0;
    std::size_t end = 0;  // offset just past the token
};

struct ParseFailure {
    std::size_t offset;
    std::string reason;
    long code;
};

std::string upper(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out;
}

bool isIdentifierStart(unsigned char c) {
    return std::isalpha(c) || c == '_' || c >= 0x80;
}
bool isIdentifierChar(unsigned char c) {
    return isIdentifierStart(c) || std::isdigit(c);
}

class Lexer {
public:
    explicit Lexer(std::string_view text) : text_(text) {}

    std::size_t position() const { return pos_; }
    const std::string_view& text() const { return text_; }

    Token next() {
        skipSpace();
        Token t;
        t.offset = pos_;
        if (pos_ >= text_.size()) {
            t.end = pos_;
            return t;
        }
        unsigned char c = static_cast<unsigned char>(text_[pos_]);
        if (c == '\'' || c == '"') {
            t.type = TokenType::String;
            t.text = readString();
        } else if (startsNumber(pos_)) {
            t.type = TokenType::Number;
            t.number = readNumber();
        } else if ((c == '-' || c == '+') && startsNumber(pos_ + 1)) {
            // A signed number literal; the language has no arithmetic, so a sign before
            // digits is always part of the number.
            ++pos_;
            t.type = TokenType::Number;
            KSValue magnitude = readNumber();
            if (c == '+') {
                t.number = magnitude;
            } else if (magnitude.isInteger()) {
                t.number = KSValue(static_cast<long long>(-magnitude.asInteger()));
            } else {
                t.number = KSValue(-magnitude.asDouble());
            }
        } else if (isIdentifierStart(c) || c == '@') {
            t.type = TokenType::Identifier;
            std::size_t start = pos_++;
            while (pos_ < text_.size() && isIdentifierChar(static_cast<unsigned char>(text_[pos_])))
                ++pos_;
            t.text = std::string(text_.substr(start, pos_ - start));
            if (t.text == "@") fail(start, "expected a collection operator after '@'");
        } else if (c == '#') {
            t.type = TokenType::Escaped;
            ++pos_;
            if (pos_ < text_.size() && (text_[pos_] == '"' || text_[pos_] == '\'')) {
                t.text = readString();
            } else {
                std::size_t start = pos_;
                while (pos_ < text_.size() &&
                       isIdentifierChar(static_cast<unsigned char>(text_[pos_])))
                    ++pos_;
                if (pos_ == start) fail(start, "expected a key after '#'");
                t.text = std::string(text_.substr(start, pos_ - start));
            }
        } else if (c == '%') {
            t.type = TokenType::Format;
            t.text = readFormat();
        } else if (std::string_view("()[]{},.").find(static_cast<char>(c)) !=
                   std::string_view::npos) {
            t.type = TokenType::Punct;
            t.text = std::string(1, static_cast<char>(c));
            ++pos_;
        } else {
            t.type = TokenType::Operator;
            t.text = readOperator();
        }
        t.end = pos_;
        return t;
    }

    // Reads "[c]", "[d]", "[cd]" when it follows at once; answers the option bits.
    unsigned readOptions() {
        if (pos_ >= text_.size() || text_[pos_] != '[') return 0;
        std::size_t start = pos_++;
        unsigned options = 0;
        while (pos_ < text_.size() && text_[pos_] != ']') {
            char letter = static_cast<char>(std::tolower(static_cast<unsigned char>(text_[pos_])));
            if (letter == 'c') {
                options |= KSCaseInsensitivePredicateOption;
            } else if (letter == 'd') {
                options |= KSDiacriticInsensitivePredicateOption;
            } else {
                fail(pos_, std::string("unknown comparison option '") + text_[pos_] + "'");
            }
            ++pos_;
        }
        if (pos_ >= text_.size()) fail(start, "unterminated comparison options");
        if (pos_ == start + 1) fail(start, "empty comparison options");
        ++pos_;
        return options;
    }

    [[noreturn]] void fail(std::size_t offset, std::string reason,
                           long code = KSPredicateFormatError) const {
        throw ParseFailure{offset, std::move(reason), code};
    }

private:
    bool startsNumber(std::size_t at) const {
        if (at >= text_.size()) return false;
        auto c = static_cast<unsigned char>(text_[at]);
        if (std::isdigit(c)) return true;
        return c == '.' && at + 1 < text_.size() &&
               std::isdigit(static_cast<unsigned char>(text_[at + 1]));
    }

    void skipSpace() {
        while (pos_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[pos_])))
            ++pos_;
    }

    std::string readString() {
        char quote = text_[pos_];
        std::size_t start = pos_++;
        std::string out;
        while (true) {
            if (pos_ >= text_.size()) fail(start, "unterminated string");
            char c = text_[pos_++];
            if (c == quote) return out;
            if (c != '\\') {
                out += c;
                continue;
            }
            if (pos_ >= text_.size()) fail(start, "unterminated string");
            char e = text_[pos_++];
            switch (e) {
                case 'n':
                    out += '\n';
                    break;
                case 't':
                    out += '\t';
                    break;
                case 'r':
                    out += '\r';
                    break;
                case '0':
                    out += '\0';
                    break;
                case 'u':
                    KSAppendUTF8(out, readUnicodeEscape(pos_ - 2));
                    break;
                default:
                    out += e;  // \\, \', \" and any other character stand for themselves
            }
        }
    }

    std::uint32_t readHex4(std::size_t escapeOffset) {
        if (pos_ + 4 > text_.size()) fail(escapeOffset, "incomplete \\u escape");
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i) {
            char h = text_[pos_++];
            value <<= 4;
            if (h >= '0' && h <= '9')
                value |= h - '0';
            else if (h >= 'a' && h <= 'f')
                value |= h - 'a' + 10;
            else if (h >= 'A' && h <= 'F')
                value |= h - 'A' + 10;
            else
                fail(escapeOffset, "invalid \\u escape");
        }
        return value;
    }

    std::uint32_t readUnicodeEscape(std::size_t escapeOffset) {
        std::uint32_t cp = readHex4(escapeOffset);
        // A high surrogate followed by \uDC00.. makes one code point.
        if (cp >= 0xD800 && cp < 0xDC00 && pos_ + 1 < text_.size() && text_[pos_] == '\\' &&
            text_[pos_ + 1] == 'u') {
            pos_ += 2;
            std::uint32_t low = readHex4(escapeOffset);
            if (low >= 0xDC00 && low < 0xE000)
                return 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
            fail(escapeOffset, "unpaired surrogate in \\u escape");
        }
        if (cp >= 0xD800 && cp < 0xE000) fail(escapeOffset, "unpaired surrogate in \\u escape");
        return cp;
    }

    KSValue readNumber() {
        std::size_t start = pos_;
        if (text_[pos_] == '0' && pos_ + 1 < text_.size() &&
            (text_[pos_ + 1] == 'x' || text_[pos_ + 1] == 'X')) {
            pos_ += 2;
            std::size_t digits = pos_;
            std::uint64_t value = 0;
            while (pos_ < text_.size() && std::isxdigit(static_cast<unsigned char>(text_[pos_]))) {
                char h = static_cast<char>(std::tolower(static_cast<unsigned char>(text_[pos_++])));
                value = value * 16 +
                        static_cast<std::uint64_t>(
                            std::isdigit(static_cast<unsigned char>(h)) ? h - '0' : h - 'a' + 10);
            }
            if (pos_ == digits) fail(start, "expected hexadecimal digits");
            checkNumberEnd(start);
            return KSValue(static_cast<long long>(value));
        }
        bool isDouble = false;
        while (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_])))
            ++pos_;
        if (pos_ < text_.size() && text_[pos_] == '.' && pos_ + 1 < text_.size() &&
            std::isdigit(static_cast<unsigned char>(text_[pos_ + 1]))) {
            isDouble = true;
            ++pos_;
            while (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_])))
                ++pos_;
        }
        if (pos_ < text_.size() && (text_[pos_] == 'e' || text_[pos_] == 'E')) {
            std::size_t mark = pos_++;
            if (pos_ < text_.size() && (text_[pos_] == '+' || text_[pos_] == '-')) ++pos_;
            if (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_]))) {
                isDouble = true;
                while (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_])))
                    ++pos_;
            } else {
                pos_ = mark;
            }
        }
        checkNumberEnd(start);
        std::string_view digits = text_.substr(start, pos_ - start);
        if (!isDouble) {
            // Integers beyond 64 bits read as doubles rather than clamping.
            if (digits.size() < 19)
                return KSValue(static_cast<long long>(KSIntegerValueOfString(digits)));
            double d = KSDoubleValueOfString(digits);
            if (d < 9.2e18) return KSValue(static_cast<long long>(KSIntegerValueOfString(digits)));
            return KSValue(d);
        }
        return KSValue(KSDoubleValueOfString(digits));
    }

    void checkNumberEnd(std::size_t start) {
        if (pos_ < text_.size() && isIdentifierChar(static_cast<unsigned char>(text_[pos_]))) {
            fail(start, "malformed number");
        }
    }

    std::string readFormat() {
        std::size_t start = pos_++;
        static const char* const conversions[] = {"@", "K", "lld", "ld", "lu", "d",
                                                  "i", "u", "f",   "g",  "e"};
        for (const char* conversion : conversions) {
            std::string_view c(conversion);
            if (text_.substr(pos_, c.size()) == c) {
                pos_ += c.size();
                return std::string(c);
            }
        }
        fail(start, "unsupported format specifier");
    }

    std::string readOperator() {
        static const char* const operators[] = {"==", "!=", "<>", "<=", "=<", ">=", "=>",
                                                "&&", "||", "=",  "<",  ">",  "!"};
        for (const char* op : operators) {
            std::string_view o(op);
            if (text_.substr(pos_, o.size()) == o) {
                pos_ += o.size();
                return std::string(o);
            }
        }
        fail(pos_, std::string("unexpected character '") + text_[pos_] + "'");
    }

    std::string_view text_;
    std::size_t pos_ = 0;
};

class Parser {
public:
    Parser(std::string_view format, const KSArray& arguments)
        : lexer_(format), arguments_(arguments) {
        advance();
    }

    KSPredicatePtr parseAll() {
        if (current_.type == TokenType::End) fail(current_.offset, "empty format string");
        KSPredicatePtr predicate = parseOr();
        if (current_.type != TokenType::End)
            fail(current_.offset, "unexpected '" + tokenText() + "'");
        return predicate;
    }

private:
    void advance() { current_ = lexer_.next(); }

    [[noreturn]] void fail(std::size_t offset, std::string reason,
                           long code = KSPredicateFormatError) {
        lexer_.fail(offset, std::move(reason), code);
    }

    std::string tokenText() const {
        return std::string(lexer_.text().substr(current_.offset, current_.end - current_.offset));
    }

    bool isKeyword(const char* word) const {
        return current_.type == TokenType::Identifier && upper(current_.text) == word;
    }

    bool isOperator(const char* op) const {
        return current_.type == TokenType::Operator && current_.text == op;
    }

    bool isPunct(char c) const {
        return current_.type == TokenType::Punct && current_.text.size() == 1 &&
               current_.text[0] == c;
    }

    void expectPunct(char c) {
        if (!isPunct(c)) fail(current_.offset, std::string("expected '") + c + "'");
        advance();
    }

    struct DepthGuard {
        Parser& parser;
        explicit DepthGuard(Parser& p, std::size_t offset) : parser(p) {
            if (++parser.depth_ > kMaxDepth) parser.fail(offset, "nesting too deep");
        }
        ~DepthGuard() { --parser.depth_; }
    };

    KSPredicatePtr parseOr() {
        std::vector<KSPredicatePtr> parts{parseAnd()};
        while (isKeyword("OR") || isOperator("||")) {
            advance();
            parts.push_back(parseAnd());
        }
        if (parts.size() == 1) return parts.front();
        return KSCompoundPredicate::orPredicateWithSubpredicates(std::move(parts));
    }

    KSPredicatePtr parseAnd() {
        std::vector<KSPredicatePtr> parts{parseNot()};
        while (isKeyword("AND") || isOperator("&&")) {
            advance();
            parts.push_back(parseNot());
        }
        if (parts.size() == 1) return parts.front();
        return KSCompoundPredicate::andPredicateWithSubpredicates(std::move(parts));
    }

    KSPredicatePtr parseNot() {
        if (isKeyword("NOT") || isOperator("!")) {
            DepthGuard guard(*this, current_.offset);
            advance();
            return KSCompoundPredicate::notPredicateWithSubpredicate(parseNot());
        }
        return parsePrimary();
    }

    KSPredicatePtr parsePrimary() {
        if (isPunct('(')) {
            DepthGuard guard(*this, current_.offset);
            advance();
            KSPredicatePtr inner = parseOr();
            expectPunct(')');
            return inner;
        }
        if (isKeyword("TRUEPREDICATE")) {
            advance();
            return KSPredicate::truePredicate();
        }
        if (isKeyword("FALSEPREDICATE")) {
            advance();
            return KSPredicate::falsePredicate();
        }
        return parseComparison();
    }

    KSPredicatePtr parseComparison() {
        auto modifier = KSComparisonPredicateModifier::Direct;
        bool negate = false;
        if (isKeyword("ANY") || isKeyword("SOME")) {
            modifier = KSComparisonPredicateModifier::Any;
            advance();
        } else if (isKeyword("ALL")) {
            modifier = KSComparisonPredicateModifier::All;
            advance();
        } else if (isKeyword("NONE")) {
            modifier = KSComparisonPredicateModifier::Any;
            negate = true;
            advance();
        }
        KSExpressionPtr left = parseExpression();
        std::size_t operatorOffset = current_.offset;
        KSPredicateOperatorType type = parseOperator();
        unsigned options = lexer_.readOptions();
        advance();
        KSExpressionPtr right = parseExpression();
        if (type == KSPredicateOperatorType::Matches &&
            right->expressionType() == KSExpression::Type::ConstantValue &&
            right->constantValue().isString()) {
            std::string message;
            if (!KSPredicateRegex::compile(right->constantValue().asString(), options, &message)) {
                fail(operatorOffset, message);
            }
        }
        KSPredicatePtr comparison =
            KSComparisonPredicate::predicateWithLeftExpressionRightExpression(
                std::move(left), std::move(right), modifier, type, options);
        if (negate) return KSCompoundPredicate::notPredicateWithSubpredicate(std::move(comparison));
        return comparison;
    }

    // Reads the operator token without advancing past it, so that options directly
    // after it can be read from the lexer's position.
    KSPredicateOperatorType parseOperator() {
        using Op = KSPredicateOperatorType;
        if (current_.type == TokenType::Operator) {
            const std::string& op = current_.text;
            if (op == "=" || op == "==") return Op::EqualTo;
            if (op == "!=" || op == "<>") return Op::NotEqualTo;
            if (op == "<") return Op::LessThan;
            if (op == "<=" || op == "=<") return Op::LessThanOrEqualTo;
            if (op == ">") return Op::GreaterThan;
            if (op == ">=" || op == "=>") return Op::GreaterThanOrEqualTo;
        } else if (current_.type == TokenType::Identifier) {
            std::string word = upper(current_.text);
            if (word == "BEGINSWITH") return Op::BeginsWith;
            if (word == "ENDSWITH") return Op::EndsWith;
            if (word == "CONTAINS") return Op::Contains;
            if (word == "LIKE") return Op::Like;
            if (word == "MATCHES") return Op::Matches;
            if (word == "IN") return Op::In;
            if (word == "BETWEEN") return Op::Between;
        }
        if (current_.type == TokenType::End) fail(current_.offset, "expected an operator");
        fail(current_.offset, "expected an operator, found '" + tokenText() + "'");
    }

    const KSValue& argument(std::size_t offset, const char* specifier) {
        if (argumentIndex_ >= arguments_.size()) {
            fail(offset,
                 std::string("missing argument ") + std::to_string(argumentIndex_ + 1) + " for %" +
                     specifier,
                 KSPredicateArgumentError);
        }
        return arguments_[argumentIndex_++];
    }

    KSExpressionPtr parseExpression() {
        Token token = current_;
        switch (token.type) {
            case TokenType::Number:
                advance();
                return KSExpression::expressionForConstantValue(token.number);
            case TokenType::String:
                advance();
                return KSExpression::expressionForConstantValue(KSValue(token.text));
            case TokenType::Operator:
                break;
            case TokenType::Escaped: {
                advance();
                return parseKeyPathRest({token.text});
            }
            case TokenType::Format:
                return parseFormatExpression();
            case TokenType::Punct:
                if (isPunct('{')) return parseAggregate();
                break;
            case TokenType::Identifier:
                return parseWordExpression();
            case TokenType::End:
                fail(token.offset, "expected an expression");
        }
        fail(token.offset, "expected an expression, found '" + tokenText() + "'");
    }

    KSExpressionPtr parseWordExpression() {
        Token token = current_;
        std::string word = upper(token.text);
        if (word == "YES" || word == "TRUE") {
            advance();
            return KSExpression::expressionForConstantValue(KSValue(true));
        }
        if (word == "NO" || word == "FALSE") {
            advance();
            return KSExpression::expressionForConstantValue(KSValue(false));
        }
        if (word == "NULL" || word == "NIL") {
            advance();
            return KSExpression::expressionForConstantValue(KSValue());
        }
        if (word == "SELF") {
            advance();
            if (!isPunct('.')) return KSExpression::expressionForEvaluatedObject();
            return parseKeyPathRest({});
        }
        if (word == "CAST") return parseCast();
        if (KSExpression::isReservedWord(token.text)) {
            fail(token.offset,
                 "unexpected reserved word '" + token.text + "' (escape a key with '#')");
        }
        advance();
        return parseKeyPathRest({token.text});
    }

    // Reads ".component" repeats after the first components.
    KSExpressionPtr parseKeyPathRest(std::vector<std::string> components) {
        while (isPunct('.')) {
            advance();
            if (current_.type == TokenType::Identifier || current_.type == TokenType::Escaped) {
                components.push_back(current_.text);
                advance();
            } else if (current_.type == TokenType::Format && current_.text == "K") {
                appendKeyArgument(components);
            } else {
                fail(current_.offset, "expected a key after '.'");
            }
        }
        if (components.empty()) fail(current_.offset, "expected a key after '.'");
        return KSExpression::expressionForKeyPathComponents(std::move(components));
    }

    void appendKeyArgument(std::vector<std::string>& components) {
        std::size_t offset = current_.offset;
        const KSValue& value = argument(offset, "K");
        if (!value.isString() || value.asString().empty()) {
            fail(offset, "argument " + std::to_string(argumentIndex_) + " for %K is not a key path",
                 KSPredicateArgumentError);
        }
        auto path = KSExpression::expressionForKeyPath(value.asString());
        for (const auto& c : path->keyPathComponents())
            components.push_back(c);
        advance();
    }

    KSExpressionPtr parseFormatExpression() {
        Token token = current_;
        if (token.text == "K") {
            std::vector<std::string> components;
            appendKeyArgument(components);
            return parseKeyPathRest(std::move(components));
        }
        const KSValue& value = argument(token.offset, token.text.c_str());
        advance();
        if (token.text == "@") return KSExpression::expressionForConstantValue(value);
        if (!(value.isNumber() || value.isBool() || value.isString())) {
            fail(token.offset,
                 "argument " + std::to_string(argumentIndex_) + " for %" + token.text +
                     " is not a number",
                 KSPredicateArgumentError);
        }
        bool real = token.text == "f" || token.text == "g" || token.text == "e";
        return KSExpression::expressionForConstantValue(
            real ? KSValue(value.doubleValue())
                 : KSValue(static_cast<long long>(value.integerValue())));
    }

    KSExpressionPtr parseAggregate() {
        DepthGuard guard(*this, current_.offset);
        advance();  // '{'
        std::vector<KSExpressionPtr> elements;
        if (!isPunct('}')) {
            elements.push_back(parseExpression());
            while (isPunct(',')) {
                advance();
                elements.push_back(parseExpression());
            }
        }
        expectPunct('}');
        return KSExpression::expressionForAggregate(std::move(elements));
    }

    KSExpressionPtr parseCast() {
        std::size_t offset = current_.offset;
        advance();
        expectPunct('(');
        KSExpressionPtr value = parseExpression();
        expectPunct(',');
        if (current_.type != TokenType::String)
            fail(current_.offset, "expected a class name in CAST");
        std::string className = current_.text;
        advance();
        expectPunct(')');
        if (className != "NSDate") fail(offset, "unsupported CAST to \"" + className + "\"");
        if (value->expressionType() != KSExpression::Type::ConstantValue) {
            fail(offset, "CAST needs a constant number of seconds");
        }
        const KSValue& seconds = value->constantValue();
        if (seconds.isDate()) return value;
        if (!(seconds.isNumber() || seconds.isString()))
            fail(offset, "CAST needs a number of seconds");
        double interval = seconds.doubleValue();
        if (!std::isfinite(interval)) fail(offset, "CAST needs a finite number of seconds");
        return KSExpression::expressionForConstantValue(
            KSValue(KSDate::dateWithTimeIntervalSinceReferenceDate(interval)));
    }

    Lexer lexer_;
    const KSArray& arguments_;
    std::size_t argumentIndex_ = 0;
    Token current_;
    int depth_ = 0;
};

}  // namespace

KSPredicatePtr KSPredicateParser::parse(std::string_view format, const KSArray& arguments,
                                        KSError* error) {
    try {
        Parser parser(format, arguments);
        return parser.parseAll();
    } catch (const ParseFailure& failure) {
        std::string message = "Unable to parse the format string \"" + std::string(format) +
                              "\" at offset " + std::to_string(failure.offset) + ": " +
                              failure.reason;
        KSSetError(error, KSError(KSPredicateErrorDomain, failure.code,
                                  KSDictionary{{KSLocalizedDescriptionKey, KSValue(message)},
                                               {KSPredicateErrorOffsetKey,
                                                KSValue(static_cast<long long>(failure.offset))}}));
        return nullptr;
    }
}

}  // namespace kestrum
