// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

// The unrar library's header, which defines its types only if _UNIX is defined. It brings macros
// such as HANDLE and LONG, so include it in source files only, after everything else.
#ifndef _UNIX
#define _UNIX
#endif
#include <unrar/dll.hpp>
