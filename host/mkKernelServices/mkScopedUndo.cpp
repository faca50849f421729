#include "mkKernelServices/mkScopedUndo.h"

#include "mkUtils/mkTrace.h"

#include <QUndoStack>

namespace {

/// Steps keep what they can bring back alive.
constexpr int mostSteps = 100;

int openScopes = 0;
bool stepBegun = false;

} // namespace

namespace mkUndo {

QUndoStack *stack()
{
    static QUndoStack undoStack;
    if (undoStack.undoLimit() == 0) {
        undoStack.setUndoLimit(mostSteps);
    }
    return &undoStack;
}

void clear()
{
    // What is still to come of an open scope makes a step of its own.
    stepBegun = false;
    stack()->clear();
}

void execute(std::unique_ptr<QUndoCommand> command)
{
    if (openScopes == 0) {
        command->redo();
        return;
    }
    if (!stepBegun) {
        stepBegun = true;
        stack()->beginMacro(command->text());
    }
    stack()->push(command.release());
}

} // namespace mkUndo

mkScopedUndo::mkScopedUndo(bool record)
    : recording(record)
{
    mkTrace::call("mkScopedUndo::mkScopedUndo", record);
    openScopes += recording ? 1 : 0;
}

mkScopedUndo::~mkScopedUndo()
{
    mkTrace::call("mkScopedUndo::~mkScopedUndo");
    if (recording && --openScopes == 0 && stepBegun) {
        stepBegun = false;
        mkUndo::stack()->endMacro();
    }
}
