#pragma once
#include <QByteArray>

class ControlProgram;

/// Answers what tools and the console ask about the program that runs: docs/formats/questions.md.
/// \param program   nullptr: none is loaded
/// \param question  a JSON object
/// \return  a JSON object of some 300 KB at most; with "error" where it cannot be answered
QByteArray answerQuestion(ControlProgram *program, const QByteArray &question);
