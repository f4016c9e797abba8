#pragma once

namespace corvidctl {

/// How answers are printed.
enum class Format {
    Table,      ///< for people
    Json,       ///< one document, indented
    JsonLines,  ///< one object a line: an array's elements, or the one object there is
    Tsv,        ///< a line of names, then one line for each object, with tabs between
};

/// True for what scripts read. Remarks for people then stay away from standard output.
inline bool isForMachines(Format format) { return format != Format::Table; }

}  // namespace corvidctl
