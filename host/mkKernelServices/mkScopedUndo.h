#pragma once

#include "mkHostExport.h"

#include <memory>

class QUndoCommand;
class QUndoStack;

/// The document's undo steps.
namespace mkUndo {

/// The last hundred steps.
MK_HOST_API QUndoStack *stack();
/// Forgets all steps, also that of a scope that is open.
MK_HOST_API void clear();
/// Carries out a command; inside an undo scope it becomes part of that scope's step, outside it
/// cannot be undone.
MK_HOST_API void execute(std::unique_ptr<QUndoCommand> command);

} // namespace mkUndo

/// Brackets one undoable step: what is executed through mkUndo while it lives is undone
/// together. Nested scopes belong to the outermost one. A scope in which nothing happened leaves
/// no step.
class MK_HOST_API mkScopedUndo
{
public:
    /// With `record` false the scope only nests; its changes are recorded by an outer scope, if
    /// there is one.
    explicit mkScopedUndo(bool record);
    ~mkScopedUndo();
    mkScopedUndo(const mkScopedUndo &) = delete;
    mkScopedUndo &operator=(const mkScopedUndo &) = delete;

private:
    bool recording;
};
