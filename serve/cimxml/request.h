// The XML of a request, read into a call: what is asked, where, and with which parameters.
#pragma once

#include <string>
#include <vector>

#include "serve/cimxml/instance_name.h"

namespace diskmgt::serve {

struct CimParameter {
    enum class Kind { kNull, kValue, kArray, kClass, kInstance, kOther };

    std::string name;
    Kind kind = Kind::kNull;
    std::vector<std::string> values;  // one for a value; a null element of an array is left out
    InstanceName object;              // for a class or an instance
};

struct CimCall {
    std::string messageId;
    std::string method;
    bool isIntrinsic = true;  // an operation, not a method of a class
    std::string nameSpace;
    std::vector<CimParameter> parameters;  // of an operation; in the order given
};

/// Throws `RequestRefusal` for what is not a request in CIM-XML, has a DTD, is deeper than 32 elements, asks several
/// things at once, or is of another version.
CimCall readCall(const std::string& body);

}  // namespace diskmgt::serve
