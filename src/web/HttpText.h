#pragma once
#include <QByteArray>
#include <QMultiMap>

#include <ctime>
#include <optional>
#include <string_view>

/// The small notations of HTTP: names, percent signs, forms, cookies, dates. Facts: docs/formats/web.md.
namespace HttpText {
using Fields = QMultiMap<QByteArray, QByteArray>;

std::string_view trimmed(std::string_view text);                    // without blanks and tabs at both ends
bool isSame(std::string_view left, std::string_view right);         // but for the case of ASCII letters
bool startsWith(std::string_view text, std::string_view lowerCase); // likewise
bool isToken(std::string_view text);                                // may be a method or the name of a header
bool hasControls(std::string_view text);                            // NUL, bare CR and others; a tab is none of them

/// Whether a list of words, separated by commas, has this one.
bool listHas(std::string_view list, std::string_view lowerCaseWord);

/// One parameter of a header's value, such as the boundary in: multipart/form-data; boundary="x y".
std::optional<QByteArray> parameter(std::string_view value, std::string_view lowerCaseName);

/// %41 becomes A; a percent sign without two hex digits stays.
QByteArray percentDecoded(std::string_view text);

Fields formFields(std::string_view text);   // a=1&b=2, as in a query and a form's body; + is a blank
Fields cookieFields(std::string_view text); // a=1; b=2

QByteArray date(std::time_t seconds); // Sun, 06 Nov 1994 08:49:37 GMT
std::optional<std::time_t> parseDate(std::string_view text);
} // namespace HttpText
