// a map of 100,000 keys, set once and read three times
function fill(n) {
	var m = {}, i;
	for (i = 0; i < n; i++) {
		m['key' + i] = i;
	}
	return m;
}
function total(m, n) {
	var i, sum = 0;
	for (i = 0; i < n; i++) {
		sum = sum + m['key' + i];
	}
	return sum;
}
var entries = fill(100000);
print('' + (total(entries, 100000) + total(entries, 100000) + total(entries, 100000)));
