// A library that loads and registers nothing.
namespace {
[[maybe_unused]] const int kNothing = 0;
}
