// The floating-point environment. Only src/core touches it: everyone else holds an OwnRounding.
#pragma once

// The rounding field of a control word in the portable layout, and its values.
enum : unsigned {
    OWN_ROUND_MASK = 0x300,
    OWN_ROUND_NEAREST = 0x000,
    OWN_ROUND_DOWN = 0x100,
    OWN_ROUND_UP = 0x200,
    OWN_ROUND_CHOP = 0x300
};

// Replaces the bits of the control word that mask selects, and returns the setting before. With mask 0 it only reads.
unsigned ownControlFp(unsigned value, unsigned mask);

// A rounding mode for the life of the object, on every path out.
template <unsigned mode>
class OwnRounding {
  public:
    OwnRounding() : before_(ownControlFp(mode, OWN_ROUND_MASK)) {}
    ~OwnRounding() { ownControlFp(before_, OWN_ROUND_MASK); }
    OwnRounding(const OwnRounding &) = delete;
    OwnRounding &operator=(const OwnRounding &) = delete;

  private:
    unsigned before_;
};
using OwnChopRounding = OwnRounding<OWN_ROUND_CHOP>;
using OwnNearestRounding = OwnRounding<OWN_ROUND_NEAREST>;
