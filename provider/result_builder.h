// ResultBuilder: a PropertyMap becomes a committed instance.
#pragma once

#include <boost/shared_ptr.hpp>

#include "base/property_map.h"
#include "plugin/host/cim_model.h"

namespace diskmgt_col {

class ResultBuilder {
public:
    /// Creates an instance of the class, converts each text to its property's declared type and commits. False when the
    /// instance was committed, true when nothing was. A property that the host refuses is logged and left out; of
    /// equal names the last one wins. Exceptions of the instance's creation pass, and so does every exception that is
    /// not the host's own.
    bool operator()(boost::shared_ptr<NVEXTAL20::ICIMClass> cls, PropertyMap& properties) const;
};

}  // namespace diskmgt_col
