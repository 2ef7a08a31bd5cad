// the primes below 1,000,000 by sieve
function sieve(limit) {
	var marks = [], i, j, count = 0;
	for (i = 0; i < limit; i++) {
		marks.push(true);
	}
	for (i = 2; i < limit; i++) {
		if (marks[i]) {
			count++;
			for (j = i + i; j < limit; j = j + i) {
				marks[j] = false;
			}
		}
	}
	return count;
}
print('' + sieve(1000000));
