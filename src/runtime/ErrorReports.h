#pragma once
#include <QString>

#include <functional>
#include <map>
#include <utility>

/// What a running program reports, with its places. The same text from the same place is passed on ten times a second
/// at most, then as a count, so that a loop with a mistake does not drown everything else.
/// Thread: the main thread.
class ErrorReports
{
public:
    enum class Kind { Error, Warning, LogError, LogWarning, LogInfo, LogDebug }; // Log: by log_line
    static constexpr int kMostASecond = 10;

    using Output = std::function<void(Kind kind, const QString &text)>;
    explicit ErrorReports(Output output)
        : m_output(std::move(output))
    {}
    ~ErrorReports();
    ErrorReports(const ErrorReports &) = delete;
    ErrorReports &operator=(const ErrorReports &) = delete;

    /// \param where  "room.src:42, push of dvPanel 5"; empty: not known
    void add(Kind kind, const QString &text, const QString &where);

private:
    static constexpr size_t kMostKept = 1000; // different ones in a second
    void endSecond();

    const Output m_output;
    std::map<std::pair<Kind, QString>, int> m_seen; // in this second
    int m_ticket = 0;
};
