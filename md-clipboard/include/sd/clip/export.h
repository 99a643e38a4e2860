/// @file
/// How the library's classes cross the boundary of the DLL.
///
/// A host includes this file through the other two headers and defines nothing. The library's own build defines
/// MD_CLIPBOARD_BUILD; a program that links the library's objects directly, as its tests do, defines
/// MD_CLIPBOARD_STATIC.
#pragma once

#if !defined(_WIN32) || defined(MD_CLIPBOARD_STATIC)
#define MD_CLIPBOARD_API
#elif defined(MD_CLIPBOARD_BUILD)
#define MD_CLIPBOARD_API __declspec(dllexport)
#else
#define MD_CLIPBOARD_API __declspec(dllimport)
#endif
