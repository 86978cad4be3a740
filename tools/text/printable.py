"""Encodes numbers as printable characters that a C++ string literal holds without escapes."""

DIGITS = "".join(chr(c) for c in range(0x23, 0x7F) if chr(c) not in "\\?")
STEPS_PER_NAT = 6
COLUMNS = 96


def cost_digit(nats):
    """A cost as one character."""
    return DIGITS[max(0, min(len(DIGITS) - 1, round(nats * STEPS_PER_NAT)))]


LEVELS, LOWEST_LEVEL, LEVEL_STEP = 9, 12, 7  # as CjkModel.cpp reads them


def level_digits(costs):
    """Costs in nats as levels, two in each character."""
    steps = [round((nats * STEPS_PER_NAT - LOWEST_LEVEL) / LEVEL_STEP) for nats in costs]
    steps = [max(0, min(LEVELS - 1, step)) for step in steps] + [0] * (len(costs) % 2)
    return "".join(DIGITS[a * LEVELS + b] for a, b in zip(steps[::2], steps[1::2]))


def literal(text):
    """A text as indented lines of adjacent string literals."""
    width = COLUMNS - 2
    return "\n".join(f'    "{text[i:i + width]}"' for i in range(0, len(text), width)) or '    ""'


def wrapped(items):
    """Items, each followed by a comma, in lines of at most COLUMNS characters."""
    lines = [""]
    for item in items:
        if len(lines[-1]) + len(item) + 1 > COLUMNS:
            lines.append("")
        lines[-1] += item + ","
    return "\n".join("    " + line for line in lines)
