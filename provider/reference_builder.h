// ReferenceBuilder: a ReferenceMap becomes an association instance.
#pragma once

#include <boost/shared_ptr.hpp>

#include "plugin/host/cim_model.h"
#include "provider/reference_map.h"

namespace diskmgt_col {

class ReferenceBuilder {
public:
    /// Creates an instance of the class, assigns the references unchanged and commits. Always false. A failure of
    /// the host abandons the whole instance and is logged; every other exception passes.
    bool operator()(boost::shared_ptr<NVEXTAL20::ICIMClass> cls, ReferenceMap& references) const;
};

}  // namespace diskmgt_col
