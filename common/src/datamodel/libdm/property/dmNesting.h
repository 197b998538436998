/// How deep property sets may hold each other, for everything that walks them.
#pragma once

/// The deepest chain of sets, one holding the next, that documents and whole-set operations go along. It is the 1024
/// JSON levels that the importer accepts, where a nested set takes two, and keeps a recursive walk well inside a
/// thread's 512 KiB stack.
inline constexpr int dmMaxNesting = 512;
