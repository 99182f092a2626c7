// CIM operations: the XML of a request in, the answer out.
#pragma once

#include <string>
#include <vector>

#include "refhost/api/reference_host.h"
#include "serve/cimxml/object_store.h"

namespace diskmgt::serve {

struct CimReply {
    unsigned httpStatus = 200;
    std::string cimError;  // the header CIMError, only with 400
    std::string body;      // XML; with 400 a sentence for people
    std::string method;    // as the client wrote it; empty with 400
};

/// Answers any bytes. `store` null: nothing is known yet; every operation on instances answers CIM error 1 with
/// `whyNothing`, and classes are answered from `classes`.
CimReply answerCim(const std::string& requestBody, const std::vector<refhost::ClassDeclaration>& classes,
                   const ObjectStore* store, const std::string& hostName, const std::string& whyNothing);

}  // namespace diskmgt::serve
