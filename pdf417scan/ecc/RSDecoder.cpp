#include "pdf417scan/ecc/RSDecoder.h"

#include <cstddef>
#include <cstdio>

namespace pdf417 {

RSDecoder::RSDecoder() : Power_of(), Index_of() {
    int p = 1;
    for (int i = 0; i < NN; ++i) {
        if (p >= 929) {
            std::printf("Internal error: powers of 3 calculation\n");
        }
        Power_of[i] = p;
        Index_of[p] = i;
        if (trace) {
            std::printf("pow = %d  ii = %d \n", p, i);
            std::printf("log = %d \n", Index_of[p]);
        }
        p = p * 3 % 929;
    }
    Index_of[0] = A0;
    Power_of[NN] = 1;
    Index_of[929] = A0;
}

int RSDecoder::modbase(int x) {
    return x % NN;
}

int RSDecoder::eras_dec_rs(std::vector<int>& data, std::vector<int>& erasures, int erasureCount,
                           int n, int k) {
    int loc[MAX_SIZE] = {};
    int result = -1;
    // Only what would read or write outside data or the working arrays is
    // refused here; every other input takes the scheme's own course.
    if (k < MAX_SIZE && (n <= 0 || static_cast<std::size_t>(n) <= data.size())) {
        result = decode(data, erasures, erasureCount, n, k, loc);
    }
    if (trace) {
        std::printf("At FINISH \n");
    }
    erasures.clear();
    for (int i = 0; i < result; ++i) {
        erasures.push_back(loc[i]);
    }
    return result;
}

int RSDecoder::decode(std::vector<int>& data, const std::vector<int>& erasures, int erasureCount,
                      int n, int k, int* loc) const {
    int s[MAX_SIZE] = {};
    int lambda[MAX_SIZE] = {};
    int b[MAX_SIZE] = {};
    int t[MAX_SIZE] = {};
    int reg[MAX_SIZE] = {};
    int root[MAX_SIZE] = {};
    int omega[MAX_SIZE] = {};
    int count = 0;
    int deg_lambda = 0;
    int el = 0;
    int r = 0;
    int discr_r = 0;
    int deg_omega = 0;
    bool syn_error = false;

    // 929 itself passes, as it always has; it is weighted like 1. A negative
    // symbol has no logarithm to look up.
    for (int i = 0; i < n; ++i) {
        if (data[i] > 929 || data[i] < 0) {
            return -1;
        }
    }

    // Syndromes: symbol data[n - j] weighted by 3^(i*j). The exponent is
    // reduced by 928 before the product, the same power without overflow.
    for (int i = 1; i <= k; ++i) {
        s[i] = 0;
    }
    for (int j = 1; j <= n; ++j) {
        if (data[n - j] != 0) {
            const int tmp = Index_of[data[n - j]];
            for (int i = 1; i <= k; ++i) {
                s[i] = (s[i] + Power_of[modbase(tmp + i * modbase(j))]) % 929;
            }
        }
    }
    for (int i = 1; i <= k; ++i) {
        if (trace) {
            std::printf("Raw syndrome = %d i = %d \n", s[i], i);
        }
        if (s[i] != 0) {
            syn_error = true;
        }
    }
    if (!syn_error) {
        std::printf("No errors \n");
        return 0;
    }
    for (int i = 1; i <= k; ++i) {
        s[i] = Index_of[s[i]];
    }

    // Erasure locator, factors 1 + 3^u x.
    lambda[0] = 1;
    for (int i = 1; i <= k; ++i) {
        lambda[i] = 0;
    }
    if (erasureCount > 0) {
        // The locator's coefficients and the check's registers go up to
        // index erasureCount; a negative location would index before the
        // power table.
        if (erasureCount >= MAX_SIZE || static_cast<std::size_t>(erasureCount) > erasures.size()) {
            return -1;
        }
        for (int i = 0; i < erasureCount; ++i) {
            if (erasures[i] < 0) {
                return -1;
            }
        }
        lambda[1] = Power_of[modbase(erasures[0])];
        for (int i = 1; i < erasureCount; ++i) {
            const int u = modbase(erasures[i]);
            for (int j = i + 1; j > 0; --j) {
                const int tmp = Index_of[lambda[j - 1]];
                if (tmp != A0) {
                    if (trace) {
                        std::printf("do add Index_of[lambda[]] = %d \n", tmp);
                    }
                    lambda[j] = (lambda[j] + Power_of[modbase(u + tmp)]) % 929;
                }
            }
        }

        // The locator must vanish at exactly erasureCount powers of 3.
        for (int i = 1; i <= erasureCount; ++i) {
            reg[i] = Index_of[lambda[i]];
        }
        int found = 0;
        const long long checks = static_cast<long long>(n) + k;
        for (long long i = 1; i <= checks; ++i) {
            int q = 1;
            for (int j = 1; j <= erasureCount; ++j) {
                if (reg[j] != A0) {
                    reg[j] = modbase(reg[j] + j);
                    q = (q + Power_of[reg[j]]) % 929;
                }
            }
            if (q == 0) {
                ++found;
            }
        }
        if (found != erasureCount) {
            std::printf("\n lambda(x) is WRONG\n");
            return -1;
        }
    }

    // Berlekamp-Massey in index form; signs alternate with the index.
    for (int i = 0; i <= k; ++i) {
        b[i] = Index_of[lambda[i]];
    }
    // With a negative erasureCount the iteration starts below r = 1. Such a
    // step sums over no term, so its discrepancy is 0 and all it does is
    // shift b up by one. After k + 1 of them b[0..k] are all A0, and further
    // ones leave that unchanged; nothing else depends on r until r = 1 (the
    // comparison that reads erasureCount runs for a non-zero discrepancy
    // only, where r >= 1 keeps r + erasureCount - 1 within int). Starting at
    // r = -k - 1 at the lowest therefore gives the same state at r = 1 as
    // counting up from any lower erasureCount, in at most k + 1 steps instead
    // of up to 2^31.
    r = erasureCount < -k - 1 ? -k - 1 : erasureCount;
    el = erasureCount;
    while (++r <= k) {
        discr_r = 0;
        for (int i = 0; i < r; ++i) {
            if (lambda[i] != 0 && s[r - i] != A0) {
                const int w = Power_of[modbase(Index_of[lambda[i]] + s[r - i])];
                if (i % 2 == 1) {
                    discr_r = (discr_r + w) % 929;
                } else {
                    discr_r = (discr_r + 929 - w) % 929;
                }
                if (trace) {
                    std::printf("In loop - discr = %d i = %d r = %d lambda[i] = %d s[r-i] = %d \n",
                                discr_r, i, r, lambda[i], s[r - i]);
                }
            }
        }
        discr_r = Index_of[discr_r];
        if (trace) {
            std::printf("r = %d Discrepency = %d \n", r, discr_r);
        }
        if (discr_r == A0) {
            if (trace) {
                std::printf("Discrepancy = A0\n");
            }
            for (int i = k - 1; i >= 0; --i) {
                b[i + 1] = b[i];
                if (trace) {
                    std::printf("i = %d b[i] = %d \n", i, b[i]);
                }
            }
            b[0] = A0;
        } else {
            t[0] = lambda[0];
            for (int i = 0; i < k; ++i) {
                if (b[i] != A0) {
                    t[i + 1] = (lambda[i + 1] + Power_of[modbase(discr_r + b[i])]) % 929;
                    if (trace) {
                        std::printf("New t[i+1] = %d lambda[i+1] = %d b[i] = %d i = %d "
                                    "discr_r = %d\n",
                                    t[i + 1], lambda[i + 1], b[i], i, discr_r);
                    }
                } else {
                    t[i + 1] = lambda[i + 1];
                }
                if (trace) {
                    std::printf("i = %d t[i+1] = %d lambda[i+1] = %d \n", i, t[i + 1],
                                lambda[i + 1]);
                }
            }
            // Cleared before the test, so the test never holds for r >= 1 and
            // every non-zero discrepancy takes the inversion branch.
            el = 0;
            if (2 * el > r + erasureCount - 1) {
                if (trace) {
                    std::printf("Reached the el stuff, x mul,   el = %d r = %d \n", el, r);
                }
                for (int i = k - 1; i >= 0; --i) {
                    b[i + 1] = b[i];
                }
                b[0] = A0;
            } else {
                if (trace) {
                    std::printf("Reached the el stuff, inv  el = %d r = %d \n", el, r);
                }
                el = r + erasureCount - el;
                for (int i = 0; i <= k; ++i) {
                    b[i] = lambda[i] == 0 ? A0 : modbase(Index_of[lambda[i]] - discr_r + NN);
                    if (trace) {
                        std::printf("Inverting le  b[i] = %d i = %d \n", b[i], i);
                    }
                }
            }
            for (int i = k; i >= 0; --i) {
                lambda[i] = t[i];
                if (trace) {
                    std::printf("ci = %d Lambda = %d \n", i, lambda[i]);
                }
            }
        }
    }

    // Degree of the locator, then an exhaustive search for its roots.
    deg_lambda = 0;
    for (int i = 0; i <= k; ++i) {
        lambda[i] = Index_of[lambda[i]];
        if (trace) {
            std::printf("Lambda in index form = %d \n", lambda[i]);
        }
        if (lambda[i] != A0) {
            deg_lambda = i;
        }
    }
    if (trace) {
        std::printf("Determination of deg_lambda = %d \n", deg_lambda);
    }
    for (int j = 1; j <= k; ++j) {
        reg[j] = lambda[j];
    }
    count = 0;
    for (int i = 1; i <= 929 && count != deg_lambda; ++i) {
        int q = 1;
        for (int j = deg_lambda; j > 0; --j) {
            if (trace) {
                std::printf("loop Reg[j] pre = %d \n", reg[j]);
            }
            if (reg[j] != A0) {
                reg[j] = modbase(reg[j] + j);
                if (deg_lambda != 1) {
                    if (j % 2 == 1) {
                        q = (q + 929 - Power_of[reg[j]]) % 929;
                    } else {
                        q = (q + Power_of[reg[j]]) % 929;
                    }
                } else {
                    // A degree-one locator vanishes where its term is 1.
                    q = Power_of[reg[j]] % 929;
                    if (q == 1) {
                        q = 0;
                    }
                }
                if (trace) {
                    std::printf("loop Reg[j] = %d q = %d i = %d j = %d %d = k\n", reg[j], q, i, j,
                                k);
                }
            }
        }
        if (trace) {
            std::printf(" Reg[j] = %d q = %d i = %d \n", reg[deg_lambda], q, i);
        }
        if (q == 0) {
            root[count] = i;
            loc[count] = NN - i;
            if (trace) {
                std::printf("root  = %d loc = %d \n", root[count], loc[count]);
            }
            if (count < k) {
                ++count;
            } else {
                std::printf("Error : Error count too big = %d \n", count);
            }
        }
    }
    if (deg_lambda != count) {
        std::printf("Uncorrectable error: root count = %d deg lambda = %d \n", count, deg_lambda);
        return -1;
    }
    // Location 0 would address one past the last symbol, and a root found
    // again at i = 929 (3^929 = 3^1) gives location -1: refuse the word
    // before any symbol is changed.
    for (int j = 0; j < count; ++j) {
        if (loc[j] <= 0) {
            return -1;
        }
    }

    // Error evaluator omega = s * lambda, signs by parity.
    deg_omega = 0;
    for (int i = 0; i < k; ++i) {
        int tmp = 0;
        for (int j = deg_lambda < i ? deg_lambda : i; j >= 0; --j) {
            if (trace) {
                std::printf("j = %d deg_lambda = %d lambda[j] = %d \n", j, deg_lambda, lambda[j]);
            }
            if (s[i + 1 - j] != A0 && lambda[j] != A0) {
                const int w = Power_of[modbase(s[i + 1 - j] + lambda[j])];
                if (j % 2 == 1) {
                    tmp = (tmp + 929 - w) % 929;
                } else {
                    tmp = (tmp + w) % 929;
                }
                if (trace) {
                    std::printf(
                        "In tmp loop  tmp = %d i = %d j = %d s[i+1-j] = %d lambda[j] = %d \n", tmp,
                        i, j, s[i + 1 - j], lambda[j]);
                }
            }
        }
        if (tmp != 0) {
            deg_omega = i;
        }
        omega[i] = Index_of[tmp];
        if (trace) {
            std::printf("Omega [i] = %d i = %d \n", omega[i], i);
        }
    }
    omega[k] = A0;
    if (trace) {
        std::printf("Degree of omega = %d \n", deg_omega);
    }

    // Forney's formula, one location at a time.
    for (int j = count - 1; j >= 0; --j) {
        int num1 = 0;
        for (int i = deg_omega; i >= 0; --i) {
            if (omega[i] != A0) {
                num1 = (num1 + Power_of[modbase(omega[i] + (i + 1) * root[j])]) % 929;
                if (trace) {
                    std::printf("Num1 = %d i = %d omega[i] = %d root[j] = %d \n", num1, i, omega[i],
                                root[j]);
                }
            }
        }
        const int num2 = 1;
        int den = 1;
        for (int i = 0; i < count; ++i) {
            if (i != j) {
                const int v = (930 - Power_of[modbase(NN - root[i] + root[j])]) % 929;
                den = Power_of[modbase(Index_of[den] + Index_of[v])];
                if (trace) {
                    std::printf("den = %d \n", den);
                }
            }
        }
        if (den == 0) {
            std::printf("\n ERROR: denominator = 0\n");
            return -1;
        }
        if (trace) {
            std::printf("Index num1 = %d Index num2 = %d Index of den = %d \n", Index_of[num1],
                        Index_of[num2], Index_of[den]);
        }
        const int err =
            Power_of[modbase(Index_of[num1] + Index_of[num2] + NN - Index_of[den])] % 929;
        if (trace) {
            std::printf("error_val = %d \n", err);
        }
        if (num1 != 0 && loc[j] < n + 1) {
            const int index = n - loc[j];
            if (trace) {
                std::printf("Fix loc = %d \n", index);
            }
            data[index] = (data[index] + 929 - err) % 929;
        }
    }
    return count;
}

} // namespace pdf417
