// Fails without a word.
extern "C" int links(int value);

int main() {
    return links(10) == 7 ? 0 : 1;
}
