#include "runtime/ControlProgram.h"

#include "library/Library.h"
#include "runtime/ObjectFile.h"

ControlProgram::ControlProgram(const QString &dataDirectory)
    : m_tree(std::make_unique<AST>())
    , m_state(std::make_unique<ProgramState>(*m_tree, dataDirectory))
    , m_library(std::make_unique<Library>())
    , m_interpreter(std::make_unique<Interpreter>(*m_state))
    , m_dispatcher(std::make_unique<Dispatcher>(*m_interpreter))
{
    m_library->registerIn(*m_tree);
}

ControlProgram::~ControlProgram() = default;

bool ControlProgram::load(QDataStream &stream)
{
    const bool loaded = loadObjectFile(*m_tree, stream);
    m_state->begin();
    m_interpreter->prepareFunctions();
    m_dispatcher->prepare();
    return loaded;
}
