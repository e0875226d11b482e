#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes cases of decimal arithmetic with the answers of Python's decimal module: decimal_cases.py COUNT SEED.

A line is: operation, mode, scale, first operand, second operand, answer. Operands are texts; the answer is a text,
or NaN where a result is out of range. A context of 38 digits with these exponents holds the very numbers that the
type under test does; results are computed to 500 digits first and then rounded once.
"""
import random
import struct
import sys
from decimal import Context, Decimal, ROUND_05UP, ROUND_CEILING, ROUND_FLOOR, ROUND_HALF_EVEN, ROUND_HALF_UP

DIGITS, LEAST, MOST = 38, -128, 127
NO_SCALE = 32767
MODES = [ROUND_HALF_UP, ROUND_FLOOR, ROUND_CEILING, ROUND_HALF_EVEN]
PRECISE = Context(prec=500, rounding=ROUND_05UP, Emin=-999999, Emax=999999, traps=[])
HELD = [Context(prec=DIGITS, rounding=mode, Emin=LEAST + DIGITS - 1, Emax=999999, traps=[]) for mode in MODES]
LARGEST = Decimal((0, (9,) * DIGITS, MOST))

count, seed = int(sys.argv[1]), int(sys.argv[2])
rng = random.Random(seed)


def digits():
    kind = rng.randrange(8)
    if kind == 0:
        return str(rng.randrange(10))
    if kind == 1:
        return "9" * rng.randint(1, DIGITS)
    if kind == 2:
        return "1" + "0" * rng.randrange(DIGITS)
    if kind == 3:
        return (str(rng.randrange(1, 10 ** rng.randint(1, 12))) + "5" * rng.randint(0, 20))[:DIGITS]
    if kind == 4:
        return str(rng.randrange(2 ** 64 - 3, 2 ** 64 + 3))
    if kind == 5:
        return str(2 ** rng.randint(0, 126) if rng.random() < .5 else 5 ** rng.randint(0, 54))
    return str(rng.randrange(10 ** rng.randint(1, DIGITS)))


def operand():
    exponent = rng.randint(LEAST, MOST) if rng.random() < .3 else rng.randint(-40, 20)
    return Decimal((rng.randrange(2), tuple(map(int, digits())), exponent))


def held(exact, mode, scale):
    """The one rounding of an exact result, to the scale or to what the type holds."""
    if exact.is_zero():
        return "0"
    if scale != NO_SCALE:
        place = max(-scale, LEAST, exact.adjusted() - DIGITS + 1)
        exact = exact.quantize(Decimal((0, (1,), place)), rounding=MODES[mode], context=Context(
            prec=600, Emin=-999999, Emax=999999, traps=[]))
        if exact.is_zero():
            return "0" if place > LEAST or -scale == LEAST else "NaN"
    rounded = HELD[mode].plus(exact)
    return "NaN" if rounded.is_zero() or rounded.copy_abs() > LARGEST else str(rounded)


def scale():
    return NO_SCALE if rng.random() < .6 else rng.randint(-30, 45) if rng.random() < .9 else rng.randint(-140, 140)


def near(a):
    """A number that shares digits with a, so that sums cancel."""
    b = HELD[0].multiply(a, Decimal(1) + Decimal((0, (1,), -rng.randint(1, 40))))
    return b.copy_negate() if rng.random() < .5 else b


for _ in range(count):
    op = rng.choice(["add", "sub", "mul", "div", "pow", "shift", "round", "cmp", "double", "from"])
    mode, places = rng.randrange(4), scale()
    a, b = operand(), operand()
    if op in ("add", "sub", "cmp") and rng.random() < .3:
        b = near(a)
        if not LEAST <= b.as_tuple().exponent <= MOST:
            b = operand()
    second = str(b)
    if op == "add":
        answer = held(PRECISE.add(a, b), mode, places)
    elif op == "sub":
        answer = held(PRECISE.subtract(a, b), mode, places)
    elif op == "mul":
        answer = held(PRECISE.multiply(a, b), mode, places)
    elif op == "div":
        if b.is_zero():
            answer = "NaN"
        else:
            answer = held(PRECISE.divide(a, b), mode, places)
    elif op == "pow":
        n = rng.randrange(12) if rng.random() < .5 else rng.randrange(300)
        second = str(n)
        sign, figures, exponent = a.as_tuple()
        exact = PRECISE.power(Decimal((0, figures, 0)), n) if n > 12 else Decimal(int(Decimal((0, figures, 0))) ** n)
        exact = exact.scaleb(exponent * n, context=PRECISE)
        exact = exact.copy_negate() if sign and n % 2 else exact
        answer = held(exact, mode, places)
    elif op == "shift":
        n = rng.randint(-300, 300)
        second = str(n)
        answer = held(a.scaleb(n, context=PRECISE), mode, places)
    elif op == "round":
        answer = held(a, mode, places)
    elif op == "cmp":
        answer = str(a.compare(b))
    elif op == "double":
        answer = float(a).hex()
    else:
        number = struct.unpack("<d", rng.randbytes(8))[0] if rng.random() < .3 else \
            rng.choice([rng.random(), rng.uniform(-1e6, 1e6), rng.randrange(10 ** 9) / 100, float(a)])
        second = "0"
        answer = "NaN"
        a_text = number.hex() if number == number else "nan"
        if number == number and abs(number) != float("inf"):
            answer = held(Decimal(repr(number)), 0, NO_SCALE)
            if answer == "NaN" and abs(number) < 1:
                answer = "0"
        print(op, 0, NO_SCALE, a_text, second, answer)
        continue
    print(op, mode, places, a, second, answer)
