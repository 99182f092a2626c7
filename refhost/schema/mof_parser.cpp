// Recursive descent, but without recursion: nothing here nests.
#include "refhost/schema/mof_parser.h"

#include <algorithm>
#include <utility>

#include "refhost/schema/mof_lexer.h"
#include "refhost/schema/mof_names.h"
#include "refhost/value/cim_type.h"

namespace refhost {

namespace {

class MofParser {
public:
    MofParser(std::string_view text, const std::string& sourceName)
        : lexer(text, sourceName), token(lexer.next()), document{sourceName, false, {}, {}} {}

    MofDocument read() {
        while (token.kind != MofToken::Kind::kEnd) {
            if (isWord("qualifier"))
                readQualifierDeclaration();
            else
                readClass();
        }
        return std::move(document);
    }

private:
    [[noreturn]] void refuse(const std::string& why) const { lexer.refuse(token.line, why); }
    [[noreturn]] void refuseToken(const std::string& wanted) const {
        refuse("expected " + wanted + ", found " +
               (token.kind == MofToken::Kind::kEnd ? "the end of the text" : "\"" + token.text + "\""));
    }

    bool isWord(const char* lowerWord) const {
        return token.kind == MofToken::Kind::kName && sameName(token.text, lowerWord);
    }
    bool isMark(char mark) const { return token.kind == MofToken::Kind::kMark && token.text[0] == mark; }
    void step() { token = lexer.next(); }
    bool skipMark(char mark) {
        if (!isMark(mark)) return false;
        step();
        return true;
    }
    void expectMark(char mark) {
        if (!skipMark(mark)) refuseToken(std::string("'") + mark + "'");
    }
    std::string takeName(const char* what) {
        if (token.kind != MofToken::Kind::kName) refuseToken(what);
        std::string name = std::move(token.text);
        step();
        return name;
    }

    MofLiteral takeLiteral() {
        MofLiteral literal;
        literal.text = token.text;
        if (token.kind == MofToken::Kind::kString) {
            literal.kind = MofLiteral::Kind::kString;
        } else if (token.kind == MofToken::Kind::kCharacter) {
            literal.kind = MofLiteral::Kind::kCharacter;
        } else if (token.kind == MofToken::Kind::kNumber) {
            literal.kind = MofLiteral::Kind::kNumber;
        } else if (isWord("true") || isWord("false")) {
            literal = {MofLiteral::Kind::kBoolean, lowerCase(token.text)};
        } else if (isWord("null")) {
            literal = {};
        } else {
            refuseToken("a value");
        }
        step();
        return literal;
    }

    MofValue takeValue() {
        MofValue value;
        value.isArray = skipMark('{');
        if (value.isArray && skipMark('}')) return value;
        do {
            value.elements.push_back(takeLiteral());
        } while (value.isArray && skipMark(','));
        if (value.isArray) expectMark('}');
        return value;
    }

    /// `[]` or `[n]`, if present.
    bool takeArrayMark() {
        if (!skipMark('[')) return false;
        if (token.kind == MofToken::Kind::kNumber) step();
        expectMark(']');
        return true;
    }

    void skipDefault() {
        if (skipMark('=')) (void)takeValue();  // not used: instances begin with nulls
    }

    /// `Scope(class, property)` or `Flavor(...)`.
    void skipWordList(const char* lowerWord) {
        if (!isWord(lowerWord)) refuseToken(lowerWord);
        step();
        expectMark('(');
        do {
            (void)takeName("a word");
        } while (skipMark(','));
        expectMark(')');
    }

    void readQualifierDeclaration() {
        step();
        document.qualifierNames.push_back(takeName("a qualifier's name"));
        expectMark(':');
        (void)takeScalarType();
        (void)takeArrayMark();
        skipDefault();
        expectMark(',');
        skipWordList("scope");
        if (skipMark(',')) skipWordList("flavor");
        expectMark(';');
    }

    std::string takeScalarType() {
        const std::size_t line = token.line;
        std::string type = lowerCase(takeName("a type"));
        const std::optional<CimType> known = cimTypeNamed(type);
        if (!known || *known == CimType::kReference) lexer.refuse(line, "there is no type \"" + type + "\"");
        return type;
    }

    std::vector<MofQualifier> takeQualifiers() {
        std::vector<MofQualifier> qualifiers;
        if (!skipMark('[')) return qualifiers;
        do {
            MofQualifier qualifier;
            qualifier.line = token.line;
            qualifier.name = takeName("a qualifier's name");
            qualifier.hasValue = isMark('(') || isMark('{');
            if (isMark('{')) {
                qualifier.value = takeValue();
            } else if (skipMark('(')) {
                qualifier.value = takeValue();
                expectMark(')');
            }
            if (skipMark(':'))
                while (token.kind == MofToken::Kind::kName) step();  // flavors have no effect in this host
            qualifiers.push_back(std::move(qualifier));
        } while (skipMark(','));
        expectMark(']');
        return qualifiers;
    }

    void readClass() {
        MofClass declared;
        declared.qualifiers = takeQualifiers();
        declared.line = token.line;
        if (!isWord("class")) refuseToken("a class or qualifier declaration");
        step();
        declared.name = takeName("the class's name");
        if (skipMark(':')) declared.superclass = takeName("the superclass's name");
        expectMark('{');
        while (!skipMark('}')) declared.properties.push_back(takeProperty());
        expectMark(';');
        document.classes.push_back(std::move(declared));
    }

    MofProperty takeProperty() {
        MofProperty property;
        property.qualifiers = takeQualifiers();
        property.line = token.line;
        const std::size_t typeLine = token.line;
        const std::string typeWord = takeName("a property's type");
        const std::optional<CimType> scalar = cimTypeNamed(lowerCase(typeWord));
        if (isWord("ref")) {
            step();
            property.type = nameOf(CimType::kReference);
            property.referenceClass = typeWord;
        } else if (scalar && *scalar != CimType::kReference) {
            property.type = nameOf(*scalar);
        } else {
            lexer.refuse(typeLine, "there is no type \"" + typeWord + "\", and no REF follows it");
        }
        property.name = takeName("the property's name");
        if (isMark('(')) refuse("methods are not supported: \"" + property.name + "\"");
        property.isArray = takeArrayMark();
        skipDefault();
        expectMark(';');
        return property;
    }

    MofLexer lexer;
    MofToken token;
    MofDocument document;
};

}  // namespace

MofDocument parseMof(std::string_view text, const std::string& sourceName) {
    return MofParser(text, sourceName).read();
}

}  // namespace refhost
