#include "web/HttpMultipart.h"

#include <QDebug>

#include <string>

namespace {
struct Part
{
    std::string_view disposition;
    std::string_view contentType;
    std::string_view content;
};

/// Walks over a body from boundary to boundary.
class PartReader
{
public:
    PartReader(std::string_view body, const QByteArray &boundary)
        : m_separator("\r\n--" + boundary.toStdString())
        , m_rest(body)
    {
        // The first boundary may stand at the very start; what is in front of it means nothing.
        if (m_rest.substr(0, m_separator.size() - 2) == m_separator.substr(2)) {
            m_rest.remove_prefix(m_separator.size() - 2);
        } else {
            isBroken = !skipTo(m_separator);
        }
    }

    std::optional<Part> next() // nothing: the body's end
    {
        if (isBroken || m_rest.substr(0, 2) == "--") {
            return std::nullopt;
        }
        Part part;
        isBroken = !takeBoundaryEnd() || !takeHead(part);
        if (!isBroken) {
            m_rest = { m_rest.data() - 2, m_rest.size() + 2 }; // the blank line ends a part without content, too
            const std::string_view content = m_rest;
            isBroken = !skipTo(m_separator);
            const size_t size = content.size() - m_rest.size() - m_separator.size();
            part.content = isBroken || size < 2 ? std::string_view() : content.substr(2, size - 2);
        }
        return isBroken ? std::nullopt : std::optional(part);
    }

    bool isBroken = false; // it ended in the middle of a part

private:
    bool skipTo(std::string_view text) // behind it; false: it does not come any more
    {
        const size_t found = m_rest.find(text);
        if (found == std::string_view::npos) {
            return false;
        }
        m_rest.remove_prefix(found + text.size());
        return true;
    }

    std::optional<std::string_view> takeLine()
    {
        const std::string_view text = m_rest;
        return skipTo("\r\n") ? std::optional(text.substr(0, text.size() - m_rest.size() - 2)) : std::nullopt;
    }

    bool takeBoundaryEnd() // nothing but blanks may stand behind a boundary
    {
        const auto line = takeLine();
        return line && HttpText::trimmed(*line).empty();
    }

    bool takeHead(Part &part)
    {
        while (const auto line = takeLine()) {
            if (line->empty()) {
                return true;
            }
            const size_t colon = std::min(line->find(':'), line->size() - 1);
            const std::string_view value = HttpText::trimmed(line->substr(colon + 1));
            if (HttpText::isSame(line->substr(0, colon), "content-disposition")) {
                part.disposition = value;
            } else if (HttpText::isSame(line->substr(0, colon), "content-type")) {
                part.contentType = value;
            }
        }
        return false;
    }

    const std::string m_separator; // in front of a boundary stands the line end that belongs to it
    std::string_view m_rest;
};

QByteArray bytes(std::string_view text)
{
    return QByteArray(text.data(), static_cast<int>(text.size()));
}
} // namespace

HttpMultipart HttpMultipart::parse(const std::shared_ptr<HttpTemporaryFile> &body, const QByteArray &boundary,
                                   int maxParameterBytes)
{
    qDebug("HttpRequest: parsing multipart temp file");
    HttpMultipart form;
    PartReader reader(body->content(), boundary);
    while (const auto part = reader.next()) {
        const auto name = HttpText::parameter(part->disposition, "name");
        if (!HttpText::startsWith(part->disposition, "form-data") || !name) {
            qDebug("HttpRequest: ignoring unsupported content part %s", bytes(part->disposition).constData());
        } else if (const auto fileName = HttpText::parameter(part->disposition, "filename")) {
            form.uploads.push_back({ *name, *fileName, bytes(part->contentType), body, part->content });
        } else if ((maxParameterBytes -= name->size() + static_cast<int>(part->content.size())) < 0) {
            form.isTooLarge = true;
            return form;
        } else {
            form.parameters.insert(*name, bytes(part->content));
        }
    }
    if (reader.isBroken) {
        qDebug("HttpRequest: format error, unexpected end of file data");
    }
    return form;
}
