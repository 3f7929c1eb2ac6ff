#include "web/HttpRequest.h"

#include <algorithm>

std::string_view HttpRequest::header(std::string_view lowerCaseName) const
{
    const Header *const found = find(lowerCaseName);
    return found ? view(found->value) : std::string_view();
}

int HttpRequest::headerCount(std::string_view lowerCaseName) const
{
    return static_cast<int>(std::count_if(m_headers.begin(), m_headers.end(),
                                          [&](const Header &header) { return view(header.name) == lowerCaseName; }));
}

const HttpRequest::Header *HttpRequest::find(std::string_view lowerCaseName) const
{
    const auto found = std::find_if(m_headers.begin(), m_headers.end(),
                                    [&](const Header &header) { return view(header.name) == lowerCaseName; });
    return found == m_headers.end() ? nullptr : &*found;
}

void HttpRequest::clear()
{
    m_head.resize(0);
    m_headers.clear();
    m_path.resize(0);
    m_parameters.clear();
    m_cookies.clear();
    m_body.clear();
    m_uploads.clear();
}
