// What is changed in the tests of scripts/mutate.py. Each line has one fate.

extern "C" int loads(int value) {
    return value + 40; // noticed by the program that loads the library
}

extern "C" int links(int value) {
    return value - 3; // noticed by the program that it is linked into
}

extern "C" int nobody_asks(int value) {
    return value / 7; // noticed by nobody
}

extern "C" int listed(int value) {
    return value == 5; // equivalent, as tests/mutation/equivalent.txt says
}

[[maybe_unused]] static int not_in_the_library(int value) {
    return value * 9;
}

extern "C" int kind_of(int value) {
    switch (value) {
    case 1:
        return value;
    case 2: // does not compile as another 1
        return value;
    }
    return value;
}

extern "C" int counted(int end) {
    int last = 0;
    for (volatile unsigned long long i = end; i; --i) // noticed as endless
        last = int(i);
    return last;
}
