// Placeholder: keeps the component's target non-empty until its sources land.
