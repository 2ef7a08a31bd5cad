// push to an array, then read it by index
function fill(n) {
	var a = [], i;
	for (i = 0; i < n; i++) {
		a.push(i * 3);
	}
	return a;
}
function total(a) {
	var i, n = a.length, sum = 0;
	for (i = 0; i < n; i++) {
		sum = sum + a[i];
	}
	return sum;
}
var list = fill(500000);
var round, sum = 0;
for (round = 0; round < 4; round++) {
	sum = sum + total(list);
}
print('' + (sum + list.length));
