// The floating-point environment. Only src/core touches it: everyone else holds an OwnChopRounding.
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

// Rounding towards zero for the life of the object, on every path out.
class OwnChopRounding {
  public:
    OwnChopRounding() : before_(ownControlFp(OWN_ROUND_CHOP, OWN_ROUND_MASK)) {}
    ~OwnChopRounding() { ownControlFp(before_, OWN_ROUND_MASK); }
    OwnChopRounding(const OwnChopRounding &) = delete;
    OwnChopRounding &operator=(const OwnChopRounding &) = delete;

  private:
    unsigned before_;
};
