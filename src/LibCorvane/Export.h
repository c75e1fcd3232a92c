#ifndef LIBCORVANE_EXPORT_H
#define LIBCORVANE_EXPORT_H

#include <QtGlobal>

/// Marks what hosts may call; everything else is hidden in the shared library.
#if defined(LIBCORVANE_LIBRARY)
#define LIBCORVANE_EXPORT Q_DECL_EXPORT
#else
#define LIBCORVANE_EXPORT Q_DECL_IMPORT
#endif

#endif
