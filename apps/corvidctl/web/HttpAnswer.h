#pragma once

#include <httplib.h>

#include <string>

#include "web/Refusal.h"

namespace corvidctl {

/// True if the request is one for data. A failure of those is JSON, that of others a line of plain text.
inline bool isForApi(const httplib::Request& request) { return request.path.starts_with("/api/"); }

/// What every answer carries, so that browsers neither run, frame, guess, keep nor give away what is served.
const httplib::Headers& protectiveFields();

/// Tells the client why it gets nothing.
void refuse(const Refusal& refusal, const httplib::Request& request, httplib::Response& response);

/// The same as it goes over the wire, for a client whose request is not even read: 503, with the sentence.
std::string noPlaceText(const std::string& sentence);

}  // namespace corvidctl
