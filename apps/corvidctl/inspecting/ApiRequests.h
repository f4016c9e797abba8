#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "web/Api.h"

/// What requests of the page ask for. Any thread.
namespace corvidctl {

/// A request that asks for nothing that can be answered; what() is a sentence for people.
class BadRequest : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The key in the query "?key=K". @throws BadRequest if there is none, or an empty one.
std::string keyIn(const ApiRequest& request);

/// The number in the query "?since=N"; 0 if there is none. @throws BadRequest if it is no whole number.
std::uint64_t sinceIn(const ApiRequest& request);

/// What is to be stored, or erased.
struct WriteRequest {
    std::string key;
    std::string value;  ///< of a request to store
};

/// The JSON object in the body. @throws BadRequest if it is not one of exactly these texts, or its key is empty.
WriteRequest storeRequestIn(const ApiRequest& request);
WriteRequest eraseRequestIn(const ApiRequest& request);

}  // namespace corvidctl
