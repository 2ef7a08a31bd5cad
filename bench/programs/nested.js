// three nested loops over local variables
function nested(n) {
	var i, j, k, sum = 0;
	for (i = 0; i < n; i++) {
		for (j = 0; j < n; j++) {
			for (k = 0; k < n; k++) {
				sum = sum + (i * j) + k;
			}
		}
	}
	return sum;
}
print('' + nested(220));
