/* VT_API marks what the shared library exports. This header is C as well as C++, since the flat functions are.
 *
 * On Windows a program that links the DLL imports (VT_USE_DLL); the library itself, and programs that link the static
 * rooms, see plain declarations or the export mark. Elsewhere everything is hidden unless it is marked.
 */
#ifndef VT_FOUNDATION_EXPORT_H
#define VT_FOUNDATION_EXPORT_H

/* Stands in front of what is exported. */
#if defined(_WIN32)
#if defined(VT_USE_DLL)
#define VT_API __declspec(dllimport)
#else
#define VT_API __declspec(dllexport)
#endif
#else
#define VT_API __attribute__((visibility("default")))
#endif

#endif
