// A toy RSA round trip with the integer library: a key from two primes given in decimal, a
// number encrypted with the public exponent and decrypted with the private one. Toy only: no
// padding, and the primes are whatever the caller says.
//
//   orvex-rsa-toy [p q [message]]
#include <bigint/BigInt.h>

#include <iostream>
#include <string>

namespace {

// Two Mersenne primes, 2^127 - 1 and 2^89 - 1, so that n spans seven 32-bit blocks.
const char *defaultP = "170141183460469231731687303715884105727";
const char *defaultQ = "618970019642690137449562111";
const char *defaultMessage = "4242424242424242424242";
const unsigned publicExponent = 65537;

// Fermat's test with a few small bases: false means certainly composite.
bool probablyPrime(const BigUnsigned &candidate)
{
    if (candidate < BigUnsigned(4))
        return candidate > BigUnsigned(1);
    const BigUnsigned exponent = candidate - BigUnsigned(1);
    for (int witness : {2, 3, 5, 7}) {
        if (BigUnsigned(witness) < candidate
            && modexp(BigInteger(witness), exponent, candidate) != BigUnsigned(1))
            return false;
    }
    return true;
}

int run(int argc, char *argv[])
{
    if (argc != 1 && argc != 3 && argc != 4) {
        std::cerr << "usage: " << argv[0] << " [p q [message]]\n";
        return 2;
    }
    const BigUnsigned p = stringToBigUnsigned(argc > 1 ? argv[1] : defaultP);
    const BigUnsigned q = stringToBigUnsigned(argc > 1 ? argv[2] : defaultQ);
    const BigUnsigned message = stringToBigUnsigned(argc > 3 ? argv[3] : defaultMessage);

    std::cout << "p = " << p << (probablyPrime(p) ? "" : "  (not prime!)") << '\n'
              << "q = " << q << (probablyPrime(q) ? "" : "  (not prime!)") << '\n';

    const BigUnsigned n = p * q;
    const BigUnsigned phi = (p - BigUnsigned(1)) * (q - BigUnsigned(1));
    const BigUnsigned e(publicExponent);
    std::cout << "n = p*q = " << n << '\n'
              << "    in hexadecimal " << std::hex << std::showbase << n << std::dec
              << std::noshowbase << ", " << n.bitLength() << " bits\n"
              << "phi = (p-1)*(q-1) = " << phi << '\n'
              << "e = " << e << ", gcd(e, phi) = " << gcd(e, phi) << '\n';

    // Throws "x and n have a common factor" when e does not suit these primes.
    const BigUnsigned d = modinv(e, phi);
    std::cout << "d = modinv(e, phi) = " << d << '\n'
              << "    check: e*d mod phi = " << (e * d) % phi << '\n';

    if (message >= n) {
        std::cerr << "The message must be smaller than n.\n";
        return 2;
    }
    const BigUnsigned cipher = modexp(message, e, n);
    const BigUnsigned decrypted = modexp(cipher, d, n);
    std::cout << "message   m = " << message << '\n'
              << "encrypted c = m^e mod n = " << cipher << '\n'
              << "decrypted c^d mod n = " << decrypted << '\n';
    if (decrypted != message) {
        std::cout << "Round trip FAILED\n";
        return 1;
    }
    std::cout << "Round trip OK\n";
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    try {
        return run(argc, argv);
    } catch (const char *message) {
        std::cerr << "error: " << message << '\n';
        return 2;
    }
}
