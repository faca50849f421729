#include "mkKernelServices/mkScopedUndo.h"

#include "mkUtils/mkTrace.h"

#include <QUndoStack>

namespace {

int openScopes = 0;
bool stepBegun = false;

} // namespace

namespace mkUndo {

QUndoStack *stack()
{
    static QUndoStack undoStack;
    return &undoStack;
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
