// calls with three arguments
function pick(a, b, c) {
	return (a * b) - c;
}
function run(n) {
	var i, sum = 0;
	for (i = 0; i < n; i++) {
		sum = sum + pick(i, 3, sum);
	}
	return sum;
}
print('' + run(2500000));
