// What builders, providers and the associator ask of the host's objects: null answers become exceptions, and telling
// about a failure cannot fail.
#pragma once

#include <boost/shared_ptr.hpp>
#include <sstream>
#include <stdexcept>
#include <string>

#include "plugin/host/cim_model.h"
#include "plugin/host/tal_exception.h"
#include "plugin/log/log_message.h"
#include "schema/vocabulary.h"

namespace diskmgt_col {

/// The object itself; throws `std::runtime_error` with the text when the host gave none.
template <typename T>
boost::shared_ptr<T> required(boost::shared_ptr<T> object, const char* whenNull) {
    if (object == nullptr) throw std::runtime_error(whenNull);
    return object;
}

inline std::string nameOf(NVEXTAL20::ICIMClass& cls) {
    NVEXTAL20::TCIMOptions options;
    return cls.GetName(options);
}

inline void commit(NVEXTAL20::ICIMInstance& instance) { instance.AddToClass(NVEXTAL20::TCIMOptions()); }

/// Logs a failure. A host that fails here too loses the line, not the work that goes on.
template <typename Logging>
void logIfPossible(const Logging& logging) {
    try {
        logging();
    } catch (const NVEXTAL20::TTALException&) {  // nowhere left to log it
    }
}

/// Logs that an instance was given up.
inline void logFailedCreation(NVEXTAL20::ICIMClass& cls, const NVEXTAL20::TTALException& failure) {
    logIfPossible([&] {
        std::ostringstream text;  // takes a failure without a text too
        text << kAttemptedCreation << nameOf(cls) << " threw exception " << failure.what();
        LogMessage::getInstance()->writeDebug(text.str());
    });
}

}  // namespace diskmgt_col
