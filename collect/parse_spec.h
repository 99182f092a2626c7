// ParseSpec: how captured text becomes a value of some kind.
#pragma once

namespace diskmgt_col {

class CmdSink;

/// Implemented by the code that knows the form of the text. `Result` is any value type.
template <typename Result>
class ParseSpec {
public:
    ParseSpec() = default;
    ParseSpec(const ParseSpec&) = default;
    ParseSpec& operator=(const ParseSpec&) = default;
    virtual ~ParseSpec() = default;
    /// Reads the capture's lines, from the first one on when called through `CmdSink::parse`.
    virtual Result parseSink(CmdSink& sink) = 0;
};

}  // namespace diskmgt_col
