#pragma once

#include <memory>
#include <string>
#include <vector>

#include "exporting/ExportView.h"

namespace corvidctl {

/// A form in which values are written down, such that they are read back as they are.
class ExportForm {
public:
    virtual ~ExportForm() = default;

    /// Why the form cannot hold a value; empty if it can.
    virtual std::string obstacleTo(const ExportedValue& value) const = 0;

    /// The whole document, UTF-8. @param values without an obstacle, keys different without regard to case.
    virtual std::string write(const std::vector<ExportedValue>& values) const = 0;
};

/// A configuration document as a server sends it. Sensitive values are marked. From a server the two well-known
/// passwords are read back enciphered.
class ServerForm : public ExportForm {
public:
    std::string obstacleTo(const ExportedValue& value) const override;
    std::string write(const std::vector<ExportedValue>& values) const override;
};

/// One JSON object of texts. It holds everything.
class JsonForm : public ExportForm {
public:
    std::string obstacleTo(const ExportedValue& value) const override;
    std::string write(const std::vector<ExportedValue>& values) const override;
};

/// Lines of key:value as the installer's file has them.
class PropertiesForm : public ExportForm {
public:
    std::string obstacleTo(const ExportedValue& value) const override;
    std::string write(const std::vector<ExportedValue>& values) const override;
};

/// @param format "server", "json" or "properties". @return null for another.
std::unique_ptr<ExportForm> exportForm(const std::string& format);

}  // namespace corvidctl
