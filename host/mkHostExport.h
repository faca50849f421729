#pragma once

#include <QtGlobal>

// The host is one shared library, so that the workbench and every plug-in see the same singletons.
#ifdef MK_HOST_BUILD
#define MK_HOST_API Q_DECL_EXPORT
#else
#define MK_HOST_API Q_DECL_IMPORT
#endif
