#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "validating/Finding.h"

namespace corvidctl {

/// What a file means, as plain UTF-8 data.
struct ValidationView {
    enum class Form {
        Document,    ///< groups of entries, as a server sends them
        LocalFile,   ///< "userConfig" elements
        Properties,  ///< lines of key:value
    };

    struct Entry {
        std::string key;
        std::string value;  ///< masked already, unless it is to be shown
        int line = 0;
        bool isSensitive = false;
        bool isMarkup = false;
    };

    std::string file;
    bool valid = false;
    Form form = Form::Document;
    bool formIsGuessed = false;  ///< the form was recognised by the content, not by the name
    std::vector<Entry> entries;
    std::vector<Finding> findings;  ///< in the order of their lines

    std::size_t count(Severity severity) const;
};

}  // namespace corvidctl
