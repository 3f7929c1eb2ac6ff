#pragma once
#include "app/Options.h"

#include <memory>

class FileController;
class HttpListener;

/// The web server of the room's panels, with the settings that are built in and those of the file "web.ini" in the data
/// directory over them.
/// Owns: the server. Thread: the main thread. Ends: with the controller.
class WebPages
{
public:
    /// Serves from here on, or error() says why not. The log says what else people should know.
    WebPages(const QString &dataDirectory, const Options &options);
    ~WebPages();

    QString error() const; // empty: it serves

private:
    std::unique_ptr<FileController> m_files;
    std::unique_ptr<HttpListener> m_listener;
};
