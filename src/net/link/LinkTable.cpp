#include "net/link/LinkTable.h"

std::vector<QByteArray> linkFields(const LinkMessageRow &row, const QByteArray &body)
{
    std::vector<QByteArray> fields;
    if (!body.startsWith(row.prefix)) {
        return fields;
    }
    int start = static_cast<int>(qstrlen(row.prefix));
    for (size_t left = row.fieldCount(); left > 0; --left) {
        const int end = left > 1 ? body.indexOf(':', start) : body.size();
        if (end < 0) {
            return {};
        }
        fields.push_back(body.mid(start, end - start));
        start = end + 1;
    }
    return fields;
}
