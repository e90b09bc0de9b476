// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

// The unrar library's header, which defines its own types only where it is told of the system. It
// brings macros such as HANDLE and LONG: for source files alone, and as the last include.
#ifndef _UNIX
#define _UNIX
#endif
#include <unrar/dll.hpp>
