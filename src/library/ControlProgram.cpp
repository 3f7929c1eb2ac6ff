#include "library/ControlProgram.h"

#include "events/ObjectFile.h"
#include "library/Library.h"

namespace {
ControlProgram *currentProgram = nullptr;
}

ControlProgram::ControlProgram(const QString &dataDirectory)
    : m_tree(std::make_unique<AST>(dataDirectory))
    , m_library(std::make_unique<Library>())
    , m_interpreter(std::make_unique<Interpreter>(*m_tree))
    , m_dispatcher(std::make_unique<Dispatcher>(*m_tree, *m_interpreter))
{
    m_library->registerIn(*m_tree);
    currentProgram = this;
}

ControlProgram::~ControlProgram()
{
    if (currentProgram == this) {
        currentProgram = nullptr;
    }
}

ControlProgram *ControlProgram::current()
{
    return currentProgram;
}

bool ControlProgram::load(QDataStream &stream)
{
    const bool loaded = loadObjectFile(*m_tree, stream);
    m_tree->refreshDateAndTime();
    m_interpreter->prepareFunctions();
    m_dispatcher->prepare();
    return loaded;
}
